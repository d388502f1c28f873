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
#include "node/kernel/filter_state.bpf.h"

#include <linux/if_ether.h>
#include <linux/pkt_cls.h>

#include <bpf/bpf_endian.h>
#include <bpf/bpf_helpers.h>

#define ETH_P_DISCOVERY 0x8863
#define ETH_P_TAG 0x8100
#define TAGS_READ 8             // tags looked behind
#define TAGS_TAKEN 3            // tags that the engine reads
#define FROM_ENGINE 0x70706F65  // packet mark between leave and guard
#define SECOND 1000000000ULL
#define STATION_LIFE (300 * SECOND)

// New addresses of one subscriber port: so many at once, one a second after
// that. A storm of made-up addresses cannot push other lines out.
#define STATION_PACE SECOND
#define STATION_BURST (256 * STATION_PACE)

struct tag {
    __be16 type;
    __be16 control;
};

struct heading {
    struct tag tags[TAGS_TAKEN];
    __u32 count;
};

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

static __always_inline __u32 slot_key(__u32 bridge, __u32 role, __u32 slot) {
    return (bridge * FILTER_ROLES + role) * FILTER_SLOTS + slot;
}

// The port on which a station lives, or null when it is not known on `bridge`.
static __always_inline struct filter_port *find_port(const struct filter_place *place, __u64 now,
                                                     __u32 bridge) {
    if (now > place->seen && now - place->seen > STATION_LIFE) return 0;
    struct filter_port *port = bpf_map_lookup_elem(&ports, &place->device);
    return port && port->bridge == bridge ? port : 0;
}

// The cell of a port's next new address; -1 when the port may not bring one in now.
static __always_inline __s64 take_cell(const struct filter_port *port, __u64 now) {
    __u32 key = slot_key(port->bridge, port->role, port->slot);
    struct filter_newcomers *own = bpf_map_lookup_elem(&newcomers, &key);
    if (!own) return -1;
    const int subscriber = port->role == FILTER_SUBSCRIBER;
    if (subscriber) {
        __u64 from = own->due > now ? own->due : now;
        if (from - now >= STATION_BURST) return -1;
        own->due = from + STATION_PACE;
    }
    __u32 share = station_shares[subscriber ? FILTER_SUBSCRIBER : FILTER_NETWORK];
    own->next = own->next + 1 < share ? own->next + 1 : 0;
    __u32 first = subscriber ? FILTER_NETWORK_STATIONS : 0;
    return first + (__u64)port->place * share + own->next;
}

// Forgets what the cell stood for and puts the station there. Only the thread that
// sends for the bridge learns, so nobody else touches the port's cells.
static __always_inline void settle(const struct filter_station *station, __u32 device, __u32 cell,
                                   __u64 now) {
    struct filter_station *accounted = bpf_map_lookup_elem(&cells, &cell);
    if (!accounted) return;
    struct filter_place *old = bpf_map_lookup_elem(&stations, accounted);
    if (old && old->cell == cell) bpf_map_delete_elem(&stations, accounted);
    *accounted = *station;
    struct filter_place fresh = {.seen = now, .device = device, .cell = cell};
    bpf_map_update_elem(&stations, station, &fresh, BPF_ANY);
}

// Of a frame that the engine has passed: what it drops teaches nothing.
static __always_inline void learn(const __u8 *record, const struct filter_port *port) {
    struct filter_arrival arrival;
    struct filter_station station = {.bridge = port->bridge};
    __builtin_memcpy(&arrival, record + RECORD_ARRIVAL, sizeof arrival);
    __builtin_memcpy(station.address, record + RECORD_SOURCE, ETH_ALEN);
    if (station.address[0] & 1) return;
    station.vlan = record[RECORD_VLAN] << 8 | record[RECORD_VLAN + 1];
    station.cvlan = record[RECORD_CVLAN] << 8 | record[RECORD_CVLAN + 1];
    __u64 now = bpf_ktime_get_ns();
    struct filter_place *place = bpf_map_lookup_elem(&stations, &station);
    if (place && place->device == arrival.device) {
        if (now > place->seen && now - place->seen > SECOND) place->seen = now;
        return;
    }
    struct filter_port *owner = place ? find_port(place, now, port->bridge) : 0;
    if (owner && owner->role == FILTER_NETWORK && port->role == FILTER_SUBSCRIBER) return;
    __s64 cell = take_cell(port, now);
    if (cell >= 0) settle(&station, arrival.device, cell, now);
}

// Writes the name of the device that a frame for `station` leaves by; the
// bridge's own name when several are meant. Zero when there is none: the
// station lives where the frame came from. Nothing ever goes from subscriber
// to subscriber.
static __always_inline int choose_output(const struct filter_station *station, __u32 device,
                                         const struct filter_port *port,
                                         const struct filter_bridge *bridge, char *name) {
    __u32 other = port->role == FILTER_NETWORK ? FILTER_SUBSCRIBER : FILTER_NETWORK;
    struct filter_place *place =
        station->address[0] & 1 ? 0 : bpf_map_lookup_elem(&stations, station);
    struct filter_port *output = place ? find_port(place, bpf_ktime_get_ns(), port->bridge) : 0;
    if (output && place->device == device && port->role == FILTER_NETWORK) return 0;
    if (output && port->role == FILTER_SUBSCRIBER && output->role == FILTER_SUBSCRIBER) output = 0;
    if (!output && bridge->sole[other]) {
        __u32 sole = bridge->sole[other];
        output = bpf_map_lookup_elem(&ports, &sole);
    }
    __builtin_memcpy(name, output ? output->name : bridge->name, FILTER_NAME_SIZE);
    return 1;
}

// Makes room in front of the frame, with every tag inline again in its order,
// and writes the record there. The tag beside the frame has to go first, and
// taking it off moves the next one into its place.
static __always_inline long put_record(struct __sk_buff *skb, const struct heading *heading,
                                       const __u8 *record, const __u8 *addresses) {
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
    __u32 device = skb->ifindex;
    if (finding == TOO_DEEP) return drop(device, OUTCOME_TOO_DEEP);

    struct filter_port *port = bpf_map_lookup_elem(&ports, &device);
    if (!port) return drop(device, OUTCOME_NO_PORT);
    struct filter_bridge *bridge = bpf_map_lookup_elem(&bridges, &port->bridge);
    if (!bridge) return drop(device, OUTCOME_HELD);
    __u32 pseudo = bridge->pseudo;
    if (!pseudo) return drop(device, OUTCOME_HELD);
    if (!engine_reads(&heading, bridge)) return drop(device, OUTCOME_FOREIGN_TAG);

    __u32 length = skb->len + (skb->vlan_present ? sizeof(struct tag) : 0);
    if (length > bridge->frame_max) return drop(device, OUTCOME_TOO_LONG);

    __u8 addresses[2 * ETH_ALEN];
    if (bpf_skb_load_bytes(skb, 0, addresses, sizeof addresses))
        return drop(device, OUTCOME_NO_ROOM);
    struct filter_station station = {
        .vlan = heading.count ? vlan_id(&heading.tags[0]) : 0,
        .cvlan = heading.count > 1 ? vlan_id(&heading.tags[1]) : RECORD_NO_CVLAN,
        .bridge = port->bridge,
    };
    __builtin_memcpy(station.address, addresses, ETH_ALEN);

    __u8 record[RECORD_SIZE] = {};
    if (!choose_output(&station, device, port, bridge, (char *)record + RECORD_OUTPUT_DEVICE))
        return drop(device, OUTCOME_AT_HOME);
    record[RECORD_VLAN] = station.vlan >> 8;
    record[RECORD_VLAN + 1] = (__u8)station.vlan;
    record[RECORD_CVLAN] = station.cvlan >> 8;
    record[RECORD_CVLAN + 1] = (__u8)station.cvlan;
    record[RECORD_MARK] = RECORD_MARK_ETHERTYPE >> 8;
    record[RECORD_MARK + 1] = RECORD_MARK_ETHERTYPE & 0xFF;
    struct filter_arrival arrival = {device, port->epoch, bridge->epoch};
    __builtin_memcpy(record + RECORD_ARRIVAL, &arrival, sizeof arrival);
    __builtin_memcpy(record + RECORD_SOURCE, addresses + ETH_ALEN, ETH_ALEN);
    __u32 total = RECORD_SIZE + length;
    __u16 input = (__u16)port->input;
    __builtin_memcpy(record + RECORD_TOTAL_LENGTH, &total, sizeof total);
    __builtin_memcpy(record + RECORD_INPUT_PORT, &input, sizeof input);
    __builtin_memcpy(record + RECORD_INPUT_DEVICE, port->name, FILTER_NAME_SIZE);

    if (put_record(skb, &heading, record, addresses)) return drop(device, OUTCOME_NO_ROOM);
    tell_of(device, OUTCOME_HANDED);
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

    learn(record, port);
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
