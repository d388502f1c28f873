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
