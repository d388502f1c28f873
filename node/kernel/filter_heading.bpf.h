// The VLAN tags of a frame, and what it is behind them.
#pragma once

#include "node/kernel/filter_state.bpf.h"

#include <linux/if_ether.h>

#include <bpf/bpf_endian.h>

#define ETH_P_DISCOVERY 0x8863
#define ETH_P_TAG 0x8100
#define TAGS_READ 8   // tags looked behind
#define TAGS_TAKEN 3  // tags that the engine reads

struct tag {
    __be16 type;
    __be16 control;
};

struct heading {
    struct tag tags[TAGS_TAKEN];
    __u32 count;
    __u32 payload;  // where it begins
};

static __always_inline int is_tag(__be16 wire_type) {
    __u16 type = bpf_ntohs(wire_type);
    return tag_types[type >> 3] & (1 << (type & 7));
}

enum finding { PLAIN, DISCOVERY, TOO_DEEP };

// Reads the tags, the one that the kernel keeps beside the frame first.
static __always_inline enum finding read_heading(struct __sk_buff *skb, struct heading *heading) {
    struct tag next = {};
    __u32 beside = skb->vlan_present, inner = 0, at = 2 * ETH_ALEN;

    if (bpf_skb_load_bytes(skb, at, &next.type, sizeof next.type)) return PLAIN;
    heading->payload = at + sizeof next.type;
    if (!beside && !is_tag(next.type))
        return next.type == bpf_htons(ETH_P_DISCOVERY) ? DISCOVERY : PLAIN;

    if (beside) {
        heading->tags[0].type = skb->vlan_proto;
        heading->tags[0].control = bpf_htons(skb->vlan_tci);
    }
#pragma unroll
    for (int i = 0; i < TAGS_READ; i++) {
        if (!is_tag(next.type)) break;
        if (bpf_skb_load_bytes(skb, at, &next, sizeof next)) return PLAIN;
        if (beside && i + 1 < TAGS_TAKEN) heading->tags[i + 1] = next;
        if (!beside && i < TAGS_TAKEN) heading->tags[i] = next;
        inner++;
        at += sizeof next;
        if (bpf_skb_load_bytes(skb, at, &next.type, sizeof next.type)) return PLAIN;
    }
    heading->count = inner + (beside ? 1 : 0);
    heading->payload = at + sizeof next.type;
    if (is_tag(next.type)) return TOO_DEEP;
    if (next.type != bpf_htons(ETH_P_DISCOVERY)) return PLAIN;
    return heading->count > TAGS_TAKEN ? TOO_DEEP : DISCOVERY;
}

// Whether the engine reads every tag of the heading: the bridge's S-Tag or a
// 0x8100 tag, and further 0x8100 tags; without an S-Tag two at most. It would
// take what lies behind any other tag for no Discovery frame, and where VLAN 0
// is not served it would pass it on as it is.
static __always_inline int engine_reads(const struct heading *heading,
                                        const struct filter_bridge *bridge) {
    const __be16 plain = bpf_htons(ETH_P_TAG), service = bpf_htons(bridge->stag_ethertype);
    __u32 most = TAGS_TAKEN;
    if (heading->count > 0 && heading->tags[0].type != service) {
        if (heading->tags[0].type != plain) return 0;
        most--;
    }
    if (heading->count > 1 && heading->tags[1].type != plain) return 0;
    if (heading->count > 2 && heading->tags[2].type != plain) return 0;
    return heading->count <= most;
}

static __always_inline __u16 vlan_id(const struct tag *tag) {
    return bpf_ntohs(tag->control) & 0x0FFF;
}
