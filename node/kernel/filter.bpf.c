// The "pppoe" filter: three programs on the clsact hooks of a bridge's ports
// and of its pseudo device.
//
//                 enter                              guard
//   port A  ---->  |  ==== record + frame ====>        |  ----> port B
//                  |        pseudo device              |
//                  |         <engine>                  |
//                  |  <=== record + frame ====  leave  |
//
// enter  takes every Discovery frame off a port before the bridge sees it, puts
//        the record in front and hands it to the pseudo device's receive side;
// leave  takes the record off what the engine sends and passes the frame on to
//        the output device that the record names;
// guard  lets no Discovery frame out of a port that did not come from leave, so
//        a port whose enter program is not there yet cannot feed the others.
//
// Whatever is missing or fails, the frame is dropped, never passed.
#include "node/kernel/filter_answers.bpf.h"

#include <linux/pkt_cls.h>

#define FROM_ENGINE 0x70706F65  // packet mark between leave and guard

static __always_inline int drop(__u32 device, enum frame_outcome outcome) {
    tell_of(device, outcome);
    return TC_ACT_SHOT;
}

static __always_inline int drop_unknown(enum frame_outcome outcome) {
    tell(outcome);
    return TC_ACT_SHOT;
}

static __always_inline void tell_sent(__u32 device, __u32 code) {
    struct frame_counts *own = bpf_map_lookup_elem(&counts, &device);
    if (own && code < SENT_CODES) __sync_fetch_and_add(&own->sent[code], 1);
}

// A Discovery frame on its way in. The VLANs belong to both ends.
struct arriving {
    struct filter_station source;
    struct filter_station destination;
    struct filter_message message;
    struct tags tags;
    __u32 device;
    __u32 length;
    __u64 now;
};

static __always_inline __u16 be16_at(const __u8 *bytes) {
    return bytes[0] << 8 | bytes[1];
}

static __always_inline void read_vlans(struct arriving *frame, const struct heading *heading) {
    frame->source.vlan = heading->count ? vlan_id(&heading->tags[0]) : 0;
    frame->source.cvlan = heading->count > 1 ? vlan_id(&heading->tags[1]) : RECORD_NO_CVLAN;
    frame->destination.vlan = frame->source.vlan;
    frame->destination.cvlan = frame->source.cvlan;
}

// The addresses, and what stands in front of the tags. A frame that ends there is the
// engine's to refuse. Zero when there are no addresses.
static __always_inline int read_frame(struct __sk_buff *skb, const struct heading *heading,
                                      struct arriving *frame) {
    __u8 addresses[2 * ETH_ALEN], front[6];
    if (bpf_skb_load_bytes(skb, 0, addresses, sizeof addresses)) return 0;
    __builtin_memcpy(frame->destination.address, addresses, ETH_ALEN);
    __builtin_memcpy(frame->source.address, addresses + ETH_ALEN, ETH_ALEN);
    __builtin_memcpy(frame->message.destination, addresses, ETH_ALEN);
    if (bpf_skb_load_bytes(skb, heading->payload, front, sizeof front)) return 1;
    frame->message.code = front[1];
    frame->message.session = be16_at(front + 2);
    frame->tags.skb = skb;
    frame->tags.at = heading->payload + sizeof front;
    frame->tags.end = frame->tags.at + be16_at(front + 4);
    if (frame->tags.end > skb->len) frame->tags.end = skb->len;
    return 1;
}

// In enforce mode a fault is the frame's end, in watch mode it is only counted.
static __always_inline enum frame_outcome judged(const struct arriving *frame,
                                                 const struct filter_bridge *bridge,
                                                 enum frame_outcome fault) {
    if (!fault || bridge->policy.checks == FILTER_ENFORCE) return fault;
    tell_of(frame->device, fault);
    return OUTCOME_HANDED;
}

// The checks that can be off.
static __always_inline enum frame_outcome check_fault(struct arriving *frame,
                                                      const struct filter_port *port,
                                                      const struct filter_bridge *bridge) {
    if (bridge->policy.checks == FILTER_OFF || !frame->tags.skb) return OUTCOME_HANDED;
    read_tags(&frame->tags);
    frame->message.uniq = uniq_of(&frame->tags);
    if (port->role == FILTER_SUBSCRIBER && !port->policy.trusted &&
        means_more(&frame->tags, frame->tags.skb->len)) {
        enum frame_outcome fault = judged(frame, bridge, OUTCOME_MEANS_MORE);
        if (fault) return fault;
    }
    return judged(frame, bridge,
                  answer_fault(&frame->source, &frame->destination, &frame->message, port, bridge,
                               frame->device, frame->now));
}

static __always_inline void fill_record(__u8 *record, const struct arriving *frame,
                                        const struct filter_port *port,
                                        const struct filter_bridge *bridge) {
    const struct filter_station *source = &frame->source;
    struct filter_arrival arrival = {frame->device, port->epoch, bridge->epoch};
    __u32 total = RECORD_SIZE + frame->length;
    __u16 input = (__u16)port->input;
    record[RECORD_VLAN] = source->vlan >> 8;
    record[RECORD_VLAN + 1] = (__u8)source->vlan;
    record[RECORD_CVLAN] = source->cvlan >> 8;
    record[RECORD_CVLAN + 1] = (__u8)source->cvlan;
    record[RECORD_MARK] = RECORD_MARK_ETHERTYPE >> 8;
    record[RECORD_MARK + 1] = RECORD_MARK_ETHERTYPE & 0xFF;
    __builtin_memcpy(record + RECORD_ARRIVAL, &arrival, sizeof arrival);
    __builtin_memcpy(record + RECORD_SOURCE, source->address, ETH_ALEN);
    __builtin_memcpy(record + RECORD_MESSAGE, &frame->message, sizeof frame->message);
    __builtin_memcpy(record + RECORD_TOTAL_LENGTH, &total, sizeof total);
    __builtin_memcpy(record + RECORD_INPUT_PORT, &input, sizeof input);
    __builtin_memcpy(record + RECORD_INPUT_DEVICE, port->name, FILTER_NAME_SIZE);
}

// Makes room in front of the frame, with every tag inline again in its order,
// and writes the record there. The tag beside the frame has to go first, and
// taking it off moves the next one into its place.
static __always_inline long put_record(struct __sk_buff *skb, const struct heading *heading,
                                       const struct arriving *frame, const __u8 *record) {
    __u8 addresses[2 * ETH_ALEN];
    __builtin_memcpy(addresses, frame->destination.address, ETH_ALEN);
    __builtin_memcpy(addresses + ETH_ALEN, frame->source.address, ETH_ALEN);

    __u32 popped = 0;
#pragma unroll
    for (int i = 0; i < TAGS_TAKEN; i++) {
        if (!skb->vlan_present) break;
        if (bpf_skb_vlan_pop(skb)) return -1;
        popped++;
    }
    if (skb->vlan_present) return -1;
    if (bpf_skb_change_head(skb, RECORD_SIZE + popped * sizeof(struct tag), 0)) return -1;
    if (bpf_skb_store_bytes(skb, 0, record, RECORD_SIZE, 0)) return -1;
    if (!popped) return 0;
    if (bpf_skb_store_bytes(skb, RECORD_SIZE, addresses, 2 * ETH_ALEN, 0)) return -1;
#pragma unroll
    for (int i = 0; i < TAGS_TAKEN; i++)
        if (i < popped && bpf_skb_store_bytes(skb, RECORD_SIZE + 2 * ETH_ALEN + 4 * i,
                                              &heading->tags[i], sizeof(struct tag), 0))
            return -1;
    return 0;
}

SEC("tc")
int pppoeia_enter(struct __sk_buff *skb) {
    struct heading heading = {};
    enum finding finding = read_heading(skb, &heading);
    if (finding == PLAIN) return TC_ACT_UNSPEC;

    struct arriving frame = {.device = skb->ifindex, .now = bpf_ktime_get_ns()};
    struct filter_port *port = bpf_map_lookup_elem(&ports, &frame.device);
    if (!port) return drop(frame.device, OUTCOME_NO_PORT);
    struct filter_bridge *bridge = bpf_map_lookup_elem(&bridges, &port->bridge);
    if (!bridge) return drop(frame.device, OUTCOME_HELD);
    __u32 pseudo = bridge->pseudo;
    if (!pseudo) return drop(frame.device, OUTCOME_HELD);

    // What is dropped for what it is has been charged too.
    read_vlans(&frame, &heading);
    struct filter_line line = {frame.device, frame.source.vlan, frame.source.cvlan};
    enum frame_outcome fault = rate_fault(port, bridge, &line, frame.now);
    if (fault) return drop(frame.device, fault);
    if (finding == TOO_DEEP) return drop(frame.device, OUTCOME_TOO_DEEP);
    if (!engine_reads(&heading, bridge)) return drop(frame.device, OUTCOME_FOREIGN_TAG);
    frame.length = skb->len + (skb->vlan_present ? sizeof(struct tag) : 0);
    if (frame.length > bridge->frame_max) return drop(frame.device, OUTCOME_TOO_LONG);

    frame.source.bridge = frame.destination.bridge = port->bridge;
    if (!read_frame(skb, &heading, &frame)) return drop(frame.device, OUTCOME_NO_ROOM);
    fault = source_fault(&frame.source, frame.device, port, bridge, frame.now);
    if (fault) return drop(frame.device, fault);
    fault = check_fault(&frame, port, bridge);
    if (fault) return drop(frame.device, fault);

    __u8 record[RECORD_SIZE] = {};
    if (!choose_output(&frame.destination, frame.device, port, bridge, frame.now,
                       (char *)record + RECORD_OUTPUT_DEVICE))
        return drop(frame.device, OUTCOME_AT_HOME);
    fill_record(record, &frame, port, bridge);
    if (put_record(skb, &heading, &frame, record)) return drop(frame.device, OUTCOME_NO_ROOM);
    tell_of(frame.device, OUTCOME_HANDED);
    return bpf_redirect(pseudo, BPF_F_INGRESS);
}

SEC("tc")
int pppoeia_guard(struct __sk_buff *skb) {
    struct heading heading = {};
    if (read_heading(skb, &heading) == PLAIN) return TC_ACT_UNSPEC;
    if (skb->mark != FROM_ENGINE) return drop(skb->ifindex, OUTCOME_UNMARKED);
    skb->mark = 0;
    return TC_ACT_UNSPEC;
}

static __always_inline __u32 sent_code_of(const struct frame_copy *copy) {
    __u32 at = 2 * ETH_ALEN;
#pragma unroll
    for (int i = 0; i < TAGS_TAKEN; i++) {
        if (copy->bytes[at] == ETH_P_DISCOVERY >> 8 &&
            copy->bytes[at + 1] == (ETH_P_DISCOVERY & 0xFF))
            break;
        at += sizeof(struct tag);
    }
    switch (copy->bytes[at + 3]) {
        case 0x09: return SENT_PADI;
        case 0x07: return SENT_PADO;
        case 0x19: return SENT_PADR;
        case 0x65: return SENT_PADS;
        case 0xA7: return SENT_PADT;
        default: return SENT_OTHER;
    }
}

// Moves the frame down over the record. Its code, or -1.
static __always_inline long strip_record(struct __sk_buff *skb) {
    __u32 zero = 0;
    struct frame_copy *copy = bpf_map_lookup_elem(&copies, &zero);
    __u32 length = skb->len - RECORD_SIZE;
    if (!copy || length < ETH_HLEN || length > FILTER_FRAME_MAX) return -1;
    if (bpf_skb_load_bytes(skb, RECORD_SIZE, copy->bytes, length)) return -1;
    if (bpf_skb_store_bytes(skb, 0, copy->bytes, length, 0)) return -1;
    if (bpf_skb_change_tail(skb, length, 0)) return -1;
    return sent_code_of(copy);
}

struct spreading {
    struct __sk_buff *skb;
    __u32 first;  // key of the role's first slot
    __u32 code;
};

static long spread_one(__u32 index, struct spreading *spreading) {
    __u32 key = spreading->first + index;
    __u32 *device = bpf_map_lookup_elem(&slots, &key);
    if (!device || !*device) return 0;
    __u32 output = *device;
    if (!bpf_clone_redirect(spreading->skb, output, 0)) tell_sent(output, spreading->code);
    return 0;
}

// The port that a frame came in by, if that still is what it was then and its
// bridge has not been held since. Whatever the engine's queue held meanwhile is
// thus not passed on, and no frame bears the ID of another line.
static __always_inline struct filter_port *port_of_arrival(const __u8 *record,
                                                           const struct filter_bridge *bridge,
                                                           __u32 number) {
    struct filter_arrival arrival;
    __u16 input;
    __builtin_memcpy(&arrival, record + RECORD_ARRIVAL, sizeof arrival);
    __builtin_memcpy(&input, record + RECORD_INPUT_PORT, sizeof input);
    struct filter_port *port = bpf_map_lookup_elem(&ports, &arrival.device);
    if (!port || port->bridge != number || port->epoch != arrival.port_epoch) return 0;
    if (port->input != input) return 0;
    return bridge->pseudo && bridge->epoch == arrival.bridge_epoch ? port : 0;
}

static __always_inline struct filter_output *output_of(const __u8 *record) {
    char name[FILTER_NAME_SIZE] = {};
    for (int i = 0; i < FILTER_NAME_SIZE - 1; i++) {
        name[i] = (char)record[RECORD_OUTPUT_DEVICE + i];
        if (!name[i]) break;
    }
    return bpf_map_lookup_elem(&outputs, name);
}

// What a frame teaches that the engine has passed.
static __always_inline void learn_from(const __u8 *record, const struct filter_port *port,
                                       const struct filter_bridge *bridge) {
    struct filter_arrival arrival;
    struct filter_message message;
    struct filter_station source = {.bridge = port->bridge};
    __builtin_memcpy(&arrival, record + RECORD_ARRIVAL, sizeof arrival);
    __builtin_memcpy(&message, record + RECORD_MESSAGE, sizeof message);
    __builtin_memcpy(source.address, record + RECORD_SOURCE, ETH_ALEN);
    source.vlan = be16_at(record + RECORD_VLAN);
    source.cvlan = be16_at(record + RECORD_CVLAN);
    __u64 now = bpf_ktime_get_ns();
    learn(&source, arrival.device, port, bridge, message.code, now);
    if (bridge->policy.checks != FILTER_OFF) record_message(&source, &message, port, bridge, now);
}

SEC("tc")
int pppoeia_leave(struct __sk_buff *skb) {
    __u8 record[RECORD_SIZE];
    __u32 device = skb->ifindex;
    __u32 *number = bpf_map_lookup_elem(&pseudo_devices, &device);
    if (!number || bpf_skb_load_bytes(skb, 0, record, sizeof record) ||
        record[RECORD_MARK] != RECORD_MARK_ETHERTYPE >> 8 ||
        record[RECORD_MARK + 1] != (RECORD_MARK_ETHERTYPE & 0xFF))
        return drop_unknown(OUTCOME_BAD_RECORD);
    struct filter_bridge *bridge = bpf_map_lookup_elem(&bridges, number);
    if (!bridge) return drop_unknown(OUTCOME_BAD_RECORD);
    struct filter_arrival arrival;
    __builtin_memcpy(&arrival, record + RECORD_ARRIVAL, sizeof arrival);
    __u32 input = arrival.device;
    struct filter_port *port = port_of_arrival(record, bridge, *number);
    if (!port) return drop(input, OUTCOME_STALE);
    struct filter_output *output = output_of(record);
    if (!output || output->bridge != *number) return drop(input, OUTCOME_NO_OUTPUT);
    long code = strip_record(skb);
    if (code < 0) return drop(input, OUTCOME_BAD_RECORD);

    learn_from(record, port, bridge);
    skb->mark = FROM_ENGINE;
    if (output->role != FILTER_BRIDGE) {
        tell_of(input, OUTCOME_SENT);
        tell_sent(output->device, code);
        return bpf_redirect(output->device, 0);
    }
    __u32 role = port->role == FILTER_NETWORK ? FILTER_SUBSCRIBER : FILTER_NETWORK;
    struct spreading spreading = {.skb = skb, .first = slot_key(*number, role, 0), .code = code};
    bpf_loop(bridge->slots[role], spread_one, &spreading, 0);
    tell_of(input, OUTCOME_SPREAD);
    return TC_ACT_STOLEN;  // sent, as the engine's socket sees it
}
