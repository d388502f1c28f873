// The maps of the filter programs. Their owner in user space writes all but the
// stations, their cells, the newcomers and the counts.
#pragma once

#include "node/kernel/filter_maps.h"

#include <linux/bpf.h>

#include <bpf/bpf_helpers.h>

// The tag types of this node, a bit each. The owner adds those of its bridges.
__u8 tag_types[65536 / 8];

struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES);
    __type(key, __u32);
    __type(value, struct filter_bridge);
} bridges SEC(".maps");

struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_BRIDGES *FILTER_SLOTS);
    __uint(map_flags, BPF_F_NO_PREALLOC);
    __type(key, __u32);
    __type(value, struct filter_port);
} ports SEC(".maps");

// The pseudo devices: interface index to bridge number.
struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_BRIDGES);
    __type(key, __u32);
    __type(value, __u32);
} pseudo_devices SEC(".maps");

struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_BRIDGES *(FILTER_SLOTS + 1));
    __uint(map_flags, BPF_F_NO_PREALLOC);
    __type(key, char[FILTER_NAME_SIZE]);
    __type(value, struct filter_output);
} outputs SEC(".maps");

// Where a frame for several ports goes: by bridge, role and slot an interface
// index, 0 in a free slot.
struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES *FILTER_ROLES *FILTER_SLOTS);
    __type(key, __u32);
    __type(value, __u32);
} slots SEC(".maps");

// By the same key.
struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES *FILTER_ROLES *FILTER_SLOTS);
    __type(key, __u32);
    __type(value, struct filter_newcomers);
} newcomers SEC(".maps");

// Never full: there are as many cells.
struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_STATIONS);
    __type(key, struct filter_station);
    __type(value, struct filter_place);
} stations SEC(".maps");

// The station that a cell accounts for, unless that has moved to another cell.
struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_STATIONS);
    __type(key, __u32);
    __type(value, struct filter_station);
} cells SEC(".maps");

// Addresses that have answered from the network side, with their port's device.
// Written by the threads that send; only the network's ports fill it.
struct {
    __uint(type, BPF_MAP_TYPE_LRU_HASH);
    __uint(max_entries, FILTER_NETWORK_STATIONS);
    __type(key, struct filter_server);
    __type(value, __u32);
} answering SEC(".maps");

// The servers that may answer: listed by the owner, or the first that did.
struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_BRIDGES *FILTER_SERVERS);
    __type(key, struct filter_server);
    __type(value, __u32);
} servers SEC(".maps");

// By bridge number: how many entered by being the first.
struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES);
    __type(key, __u32);
    __type(value, __u32);
} servers_seen SEC(".maps");

struct {
    __uint(type, BPF_MAP_TYPE_LRU_HASH);
    __uint(max_entries, FILTER_REQUESTS);
    __type(key, struct filter_asked);
    __type(value, struct filter_request);
} requests SEC(".maps");

struct {
    __uint(type, BPF_MAP_TYPE_LRU_HASH);
    __uint(max_entries, FILTER_SESSIONS);
    __type(key, struct filter_session);
    __type(value, struct filter_session_state);
} sessions SEC(".maps");

// The lines that ask most; who is pushed out begins with a full bucket.
struct {
    __uint(type, BPF_MAP_TYPE_LRU_HASH);
    __uint(max_entries, FILTER_LINES);
    __type(key, struct filter_line);
    __type(value, struct filter_meter);
} lines SEC(".maps");

// By the key of a slot.
struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES *FILTER_ROLES *FILTER_SLOTS);
    __type(key, __u32);
    __type(value, struct filter_meter);
} port_meters SEC(".maps");

struct {
    __uint(type, BPF_MAP_TYPE_ARRAY);
    __uint(max_entries, FILTER_BRIDGES);
    __type(key, __u32);
    __type(value, struct filter_meter);
} bridge_meters SEC(".maps");

// Cells of a port, by role. The owner makes them fewer when the ports become more.
__u32 station_shares[FILTER_ROLES];

struct {
    __uint(type, BPF_MAP_TYPE_PERCPU_ARRAY);
    __uint(max_entries, OUTCOME_COUNT);
    __type(key, __u32);
    __type(value, __u64);
} outcomes SEC(".maps");

// By interface index of a port's device; the owner makes and removes them.
struct {
    __uint(type, BPF_MAP_TYPE_HASH);
    __uint(max_entries, FILTER_BRIDGES *FILTER_SLOTS);
    __uint(map_flags, BPF_F_NO_PREALLOC);
    __type(key, __u32);
    __type(value, struct frame_counts);
} counts SEC(".maps");

static __always_inline void tell(enum frame_outcome outcome) {
    __u32 key = outcome;
    __u64 *count = bpf_map_lookup_elem(&outcomes, &key);
    if (count) *count += 1;
}

// Of the port that the frame came in by, or was to leave by unmarked.
static __always_inline void tell_of(__u32 device, enum frame_outcome outcome) {
    tell(outcome);
    struct frame_counts *own = bpf_map_lookup_elem(&counts, &device);
    if (own) __sync_fetch_and_add(&own->outcomes[outcome], 1);
}

struct frame_copy {
    __u8 bytes[FILTER_FRAME_MAX];
};

struct {
    __uint(type, BPF_MAP_TYPE_PERCPU_ARRAY);
    __uint(max_entries, 1);
    __type(key, __u32);
    __type(value, struct frame_copy);
} copies SEC(".maps");

// As they lie in the frame.
