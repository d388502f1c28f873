// What the filter programs and their user-space owner share: the records of
// the maps and the places in the frame record. Read by the C of the programs
// and by C++, so plain types only.
#pragma once

#include <linux/types.h>

enum {
    FILTER_BRIDGES = 16,      // bridges of one node
    FILTER_SLOTS = 4096,      // ports of one bridge
    FILTER_NAME_SIZE = 16,    // as the kernel's device names
    FILTER_FRAME_MAX = 9728,  // largest Ethernet frame that is taken, bytes
    FILTER_ADDRESSES = 65536,
};

// The frame record. The first six bytes are read as a destination address by
// the pseudo device's receive path, bytes 12 and 13 as an EtherType: one of the
// two meant for local experiments, so that nothing but a packet socket takes
// the datagram. The same two bytes tell a record from other senders' frames.
enum {
    RECORD_SIZE = 107,
    RECORD_VLAN = 4,
    RECORD_CVLAN = 6,
    RECORD_MARK = 12,
    RECORD_ROLE = 16,  // filter_role of the input port
    RECORD_TOTAL_LENGTH = 48,
    RECORD_INPUT_PORT = 52,
    RECORD_INPUT_DEVICE = 74,
    RECORD_OUTPUT_DEVICE = 90,
    RECORD_MARK_ETHERTYPE = 0x88B5,
    RECORD_NO_CVLAN = 0x0FFF,
};

// What a device is to its bridge.
enum filter_role {
    FILTER_SUBSCRIBER = 0,
    FILTER_NETWORK = 1,
    FILTER_ROLES = 2,
    FILTER_BRIDGE = 2,  // the bridge device itself: stands for several ports
};

// By bridge number.
struct filter_bridge {
    __u32 pseudo;               // interface index of the pseudo device; 0: frames are held
    __u32 frame_max;            // bytes that pass the pseudo device beside the record
    __u32 slots[FILTER_ROLES];  // one past the highest slot in use
    __u32 sole[FILTER_ROLES];   // the only port of a role; 0 when none or several
    char name[FILTER_NAME_SIZE];
};

// By interface index of a port. A port without a record holds its frames.
struct filter_port {
    __u32 bridge;
    __u32 role;
    __u32 slot;   // place among the bridge's ports of the role
    __u32 input;  // the agent's port id
    char name[FILTER_NAME_SIZE];
};

// By device name, zero padded.
struct filter_output {
    __u32 device;
    __u32 bridge;
    __u32 role;
    __u32 reserved;
};

// A learnt address. Both tags belong to the key: two lines may carry the same
// address in VLANs of their own.
struct filter_station {
    __u8 address[6];
    __u16 vlan;
    __u16 cvlan;
    __u16 bridge;
};

struct filter_place {
    __u64 seen;  // ns of the monotonic clock
    __u32 device;
    __u32 reserved;
};

// What became of Discovery frames, counted by processor.
enum filter_outcome {
    OUTCOME_HANDED,      // to the engine
    OUTCOME_HELD,        // no engine attached, or the port is not described
    OUTCOME_REFUSED,     // too long, too many tags, nowhere to go
    OUTCOME_UNMARKED,    // stopped at a port's exit: did not come from the engine
    OUTCOME_SENT,        // from the engine to one port
    OUTCOME_SPREAD,      // from the engine to several ports
    OUTCOME_BAD_RECORD,  // from the engine, without a usable record
    OUTCOME_COUNT,
};
