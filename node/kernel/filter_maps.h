// What the filter programs and their user-space owner share: the records of
// the maps and the places in the frame record. Read by the C of the programs
// and by C++, so plain types only.
#pragma once

#include "platform/frame_outcomes.h"

#include <linux/types.h>

enum {
    FILTER_BRIDGES = 16,      // bridges of one node
    FILTER_SLOTS = 4096,      // ports of one bridge
    FILTER_NAME_SIZE = 16,    // as the kernel's device names
    FILTER_FRAME_MAX = 9728,  // largest Ethernet frame that is taken, bytes
    FILTER_STATIONS = 65536,  // learnt addresses, of which so many may be the network's
    FILTER_NETWORK_STATIONS = 1024,
    FILTER_LINES = 65536,     // lines whose rates are watched
    FILTER_REQUESTS = 32768,  // requests that an answer may come to
    FILTER_SESSIONS = 65536,
    FILTER_SERVERS = 64,  // of one bridge
};

// The frame record. The first six bytes are read as a destination address by
// the pseudo device's receive path, bytes 12 and 13 as an EtherType: one of the
// two meant for local experiments, so that nothing but a packet socket takes
// the datagram. The same two bytes tell a record from other senders' frames.
//
// The engine passes the bytes between CVLAN and TOTAL_LENGTH back unchanged. They
// say how the frame came in, whatever the engine makes of the rest.
enum {
    RECORD_SIZE = 107,
    RECORD_VLAN = 4,
    RECORD_CVLAN = 6,
    RECORD_MARK = 12,
    RECORD_ARRIVAL = 16,  // struct filter_arrival
    RECORD_SOURCE = 28,   // the frame's source address as it came
    RECORD_MESSAGE = 34,  // struct filter_message
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

// An epoch changes with every hold of the bridge, and with every change of what
// the port is to the agent. A frame of an earlier one is not passed on.
struct filter_arrival {
    __u32 device;  // interface index of the input port
    __u32 port_epoch;
    __u32 bridge_epoch;
};

// What the frame says, for when the engine has passed it.
struct filter_message {
    __u32 uniq;  // of the Host-Uniq tag
    __u16 session;
    __u8 code;
    __u8 reserved;
    __u8 destination[6];
} __attribute__((packed));

// A token bucket of one word: the time at which the next frame would be on time. It
// may lie so far ahead as the burst allows.
struct filter_rate {
    __u64 interval;  // ns from one frame to the next; 0: no limit
    __u64 depth;     // ns
};

// What a port's frames may cost the others.
struct filter_policy {
    struct filter_rate line;      // each of its lines: outer and inner VLAN
    struct filter_rate port;      // all of them together
    struct filter_rate stations;  // new addresses
    __u64 silence;                // ns for which a line that was too fast is silent
    __u32 trusted;                // its frames may say more than their tags
    __u32 reserved;
};

// What is done about answers that nobody asked for and the like.
enum filter_checks { FILTER_OFF, FILTER_WATCH, FILTER_ENFORCE };

struct filter_bridge_policy {
    struct filter_rate engine;  // all subscribers' frames: what the engine takes
    __u64 station_life;         // ns after its last frame
    __u32 checks;
    __u32 servers_checked;  // answers come only from those in the map,
    __u32 servers_first;    // which so many enter by being the first
    __u32 reserved;
};

// By bridge number.
struct filter_bridge {
    __u32 pseudo;               // interface index of the pseudo device; 0: frames are held
    __u32 epoch;                // new with every hold
    __u32 frame_max;            // bytes that pass the pseudo device beside the record
    __u32 stag_ethertype;       // the outer tag that the engine reads beside 0x8100
    __u32 slots[FILTER_ROLES];  // one past the highest slot in use
    __u32 sole[FILTER_ROLES];   // the only port of a role; 0 when none or several
    char name[FILTER_NAME_SIZE];
    struct filter_bridge_policy policy;
};

// By interface index of a port. A port without a record holds its frames.
struct filter_port {
    __u32 bridge;
    __u32 role;
    __u32 slot;   // place among the bridge's ports of the role
    __u32 input;  // the agent's port id
    __u32 epoch;  // new whenever one of these changes
    __u32 place;  // among all ports of the role, for its share of the stations
    char name[FILTER_NAME_SIZE];
    struct filter_policy policy;
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

// Each address is accounted for in one cell, and each port has a share of the
// cells of its own: its next new address takes the place of its own oldest one.
struct filter_place {
    __u64 seen;  // ns of the monotonic clock
    __u32 device;
    __u16 cell;
    __u16 released;  // its owner has gone: another line may have it
};

// A server's address, in whatever VLANs it stands.
struct filter_server {
    __u8 address[6];
    __u16 bridge;
};

// What an answer names: who asked, and by which Host-Uniq.
struct filter_asked {
    struct filter_station client;
    __u32 uniq;
};

struct filter_request {
    __u64 padi;  // ns, 0: none
    __u64 padr;
    __u8 server[6];  // that the PADR went to
    __u16 reserved;
};

struct filter_session {
    struct filter_station client;
    __u8 server[6];
    __u16 number;
};

struct filter_session_state {
    __u64 ended;   // ns, 0: it has not
    __u32 device;  // of the client's port, 0: not known
    __u32 reserved;
};

struct filter_line {
    __u32 device;
    __u16 vlan;
    __u16 cvlan;
};

// Of a line, a port or a bridge.
struct filter_meter {
    __u64 due;           // the next frame's time, ns
    __u64 silent_until;  // ns
};

// By the same key as a slot.
struct filter_newcomers {
    __u64 due;   // when the port's next new address would be on time, ns
    __u32 next;  // the cell of it, within the port's share
    __u32 reserved;
};
