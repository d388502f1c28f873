// How much a subscriber's line, its port and all lines of a bridge may send.
#pragma once

#include "node/kernel/filter_state.bpf.h"

#define CHARGE_TRIES 4  // against other processors that charge the same bucket

static __always_inline __u32 slot_key(__u32 bridge, __u32 role, __u32 slot) {
    return (bridge * FILTER_ROLES + role) * FILTER_SLOTS + slot;
}

// Whether the bucket has no token left.
static __always_inline int is_empty(const struct filter_rate *rate, __u64 due, __u64 now) {
    return rate->interval && due > now && due - now > rate->depth;
}

static __always_inline void charge(const struct filter_rate *rate, __u64 *due, __u64 now) {
    if (!rate->interval) return;
#pragma unroll
    for (int i = 0; i < CHARGE_TRIES; i++) {
        __u64 before = *(volatile __u64 *)due, from = before > now ? before : now;
        if (__sync_val_compare_and_swap(due, before, from + rate->interval) == before) return;
    }
}

static __always_inline struct filter_meter *meter_of(const struct filter_line *line) {
    struct filter_meter *meter = bpf_map_lookup_elem(&lines, line);
    if (meter) return meter;
    struct filter_meter fresh = {};
    bpf_map_update_elem(&lines, line, &fresh, BPF_NOEXIST);
    return bpf_map_lookup_elem(&lines, line);
}

// A line that goes on above its rate stays silent for as long, and then for the time
// of its silence.
static __always_inline enum frame_outcome line_fault(const struct filter_policy *policy,
                                                     struct filter_meter *line, __u64 now) {
    int silent = line->silent_until > now;
    if (is_empty(&policy->line, line->due, now)) {
        if (policy->silence) line->silent_until = now + policy->silence;
        return silent ? OUTCOME_SILENT : OUTCOME_LIMITED;
    }
    if (!silent) return OUTCOME_HANDED;
    charge(&policy->line, &line->due, now);
    return OUTCOME_SILENT;
}

// A line that has used a quarter of its burst or more gives way to the others.
static __always_inline int is_busy(const struct filter_policy *policy,
                                   const struct filter_meter *line, __u64 now) {
    return line && line->due > now && line->due - now > policy->line.depth / 4;
}

// Charges a frame that passes to its line, its port and its bridge. A port that is
// above its rate makes no new lines: made-up VLANs push nobody out of the table.
static __always_inline enum frame_outcome rate_fault(const struct filter_port *port,
                                                     const struct filter_bridge *bridge,
                                                     const struct filter_line *name, __u64 now) {
    const struct filter_policy *policy = &port->policy;
    __u32 key = slot_key(port->bridge, port->role, port->slot), number = port->bridge;
    struct filter_meter *all = bpf_map_lookup_elem(&port_meters, &key);
    struct filter_meter *engine = bpf_map_lookup_elem(&bridge_meters, &number);
    if (!all || !engine || port->role != FILTER_SUBSCRIBER) return OUTCOME_HANDED;
    if (is_empty(&policy->port, all->due, now)) return OUTCOME_LIMITED;

    struct filter_meter *line = policy->line.interval ? meter_of(name) : 0;
    enum frame_outcome fault = line ? line_fault(policy, line, now) : OUTCOME_HANDED;
    if (fault) return fault;
    if (is_empty(&bridge->policy.engine, engine->due, now)) {
        if (is_busy(policy, line, now)) return OUTCOME_CROWDED;
    } else {
        charge(&bridge->policy.engine, &engine->due, now);
    }
    if (line) charge(&policy->line, &line->due, now);
    charge(&policy->port, &all->due, now);
    return OUTCOME_HANDED;
}
