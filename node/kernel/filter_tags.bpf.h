// The tags of a Discovery frame: its Host-Uniq, and what stands behind them.
#pragma once

#include "node/kernel/filter_heading.bpf.h"

#define TAG_END_OF_LIST 0x0000
#define TAG_HOST_UNIQ 0x0103
#define TAGS_MOST (FILTER_FRAME_MAX / 4)
#define CHUNK 64  // bytes looked at together

struct tags {
    struct __sk_buff *skb;
    __u32 at;       // of the next tag; behind the last one once they are read
    __u32 end;      // of the payload
    __u32 uniq_at;  // of the first Host-Uniq's value, 0 without one
    __u32 uniq_size;
    __u32 ended;  // by End-Of-List
};

static long read_tag(__u32 index, struct tags *tags) {
    struct {
        __be16 type;
        __be16 length;
    } tag;
    if (tags->at + sizeof tag > tags->end) return 1;
    if (bpf_skb_load_bytes(tags->skb, tags->at, &tag, sizeof tag)) return 1;
    __u32 value = tags->at + sizeof tag, length = bpf_ntohs(tag.length);
    if (tag.type == bpf_htons(TAG_END_OF_LIST)) {
        tags->at = value;
        tags->ended = 1;
        return 1;
    }
    if (length > tags->end || value + length > tags->end) return 1;
    if (tag.type == bpf_htons(TAG_HOST_UNIQ) && !tags->uniq_at) {
        tags->uniq_at = value;
        tags->uniq_size = length;
    }
    tags->at = value + length;
    return 0;
}

// Reads on from tags->at.
static __always_inline void read_tags(struct tags *tags) {
    bpf_loop(TAGS_MOST, read_tag, tags, 0);
}

struct chunk {
    __u64 words[CHUNK / 8];
};

// Up to CHUNK bytes, zeros behind them; how many, 0 when there are none.
static __always_inline __u32 load_chunk(struct __sk_buff *skb, __u32 at, __u32 size,
                                        struct chunk *chunk) {
    __builtin_memset(chunk, 0, sizeof *chunk);
    if (size > CHUNK) size = CHUNK;
    asm volatile("" : "+r"(size));  // so that the verifier sees both bounds
    if (size < 1 || size > CHUNK) return 0;
    return bpf_skb_load_bytes(skb, at, chunk, size) ? 0 : size;
}

// A number for the Host-Uniq: of its length and its first bytes.
static __always_inline __u32 uniq_of(const struct tags *tags) {
    struct chunk chunk;
    __u64 sum = 0xCBF29CE484222325ULL ^ tags->uniq_size;
    if (!tags->uniq_at) return 0;
    load_chunk(tags->skb, tags->uniq_at, tags->uniq_size, &chunk);
#pragma unroll
    for (int i = 0; i < CHUNK / 8; i++) {
        sum = (sum ^ chunk.words[i]) * 0x9E3779B97F4A7C15ULL;
        sum ^= sum >> 29;
    }
    return (__u32)(sum >> 32) | 1;
}

struct rest {
    struct __sk_buff *skb;
    __u32 at;
    __u32 end;
    __u32 means;  // a byte that is not 0
};

static long read_rest(__u32 index, struct rest *rest) {
    struct chunk chunk;
    __u64 all = 0;
    if (rest->at >= rest->end) return 1;
    __u32 size = load_chunk(rest->skb, rest->at, rest->end - rest->at, &chunk);
#pragma unroll
    for (int i = 0; i < CHUNK / 8; i++) all |= chunk.words[i];
    rest->at += size;
    rest->means = all != 0;
    return !size || all;
}

// Whether anything but zeros stands behind what the tags are: behind their end, or
// behind the payload.
static __always_inline int means_more(const struct tags *tags, __u32 frame_end) {
    struct rest rest = {
        .skb = tags->skb, .at = tags->ended ? tags->at : tags->end, .end = frame_end};
    bpf_loop(FILTER_FRAME_MAX / CHUNK + 1, read_rest, &rest, 0);
    return rest.means;
}
