// Where addresses live, and that they stay there.
#pragma once

#include "node/kernel/filter_heading.bpf.h"
#include "node/kernel/filter_rates.bpf.h"

#define SECOND 1000000000ULL
#define CODE_PADO 0x07
#define CODE_PADS 0x65
#define CODE_PADT 0xA7

// The port on which a station lives, or null when it is not known on `bridge`.
static __always_inline struct filter_port *find_port(const struct filter_place *place, __u64 now,
                                                     __u32 number,
                                                     const struct filter_bridge *bridge) {
    if (now > place->seen && now - place->seen > bridge->policy.station_life) return 0;
    struct filter_port *port = bpf_map_lookup_elem(&ports, &place->device);
    return port && port->bridge == number ? port : 0;
}

// Whether the address has answered from a network port that is still there.
static __always_inline int is_servers(const struct filter_station *station) {
    struct filter_server server = {.bridge = station->bridge};
    __builtin_memcpy(server.address, station->address, ETH_ALEN);
    __u32 *device = bpf_map_lookup_elem(&answering, &server);
    if (!device) return 0;
    struct filter_port *port = bpf_map_lookup_elem(&ports, device);
    return port && port->bridge == station->bridge && port->role == FILTER_NETWORK;
}

// Whether a subscriber's frame has the address of another line, or of a server.
static __always_inline enum frame_outcome source_fault(const struct filter_station *source,
                                                       __u32 device, const struct filter_port *port,
                                                       const struct filter_bridge *bridge,
                                                       __u64 now) {
    if (port->role != FILTER_SUBSCRIBER) return OUTCOME_HANDED;
    if (is_servers(source)) return OUTCOME_NOT_ITS_OWN;
    struct filter_place *place = bpf_map_lookup_elem(&stations, source);
    if (!place || place->device == device || place->released) return OUTCOME_HANDED;
    return find_port(place, now, port->bridge, bridge) ? OUTCOME_NOT_ITS_OWN : OUTCOME_HANDED;
}

// The cell of a port's next new address; -1 when the port may not bring one in now.
static __always_inline __s64 take_cell(const struct filter_port *port, __u64 now) {
    __u32 key = slot_key(port->bridge, port->role, port->slot);
    struct filter_newcomers *own = bpf_map_lookup_elem(&newcomers, &key);
    if (!own) return -1;
    const int subscriber = port->role == FILTER_SUBSCRIBER;
    if (subscriber) {
        if (is_empty(&port->policy.stations, own->due, now)) return -1;
        charge(&port->policy.stations, &own->due, now);
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

static __always_inline void learn_server(const struct filter_station *station, __u32 device) {
    struct filter_server server = {.bridge = station->bridge};
    __builtin_memcpy(server.address, station->address, ETH_ALEN);
    __u32 *known = bpf_map_lookup_elem(&answering, &server);
    if (!known || *known != device) bpf_map_update_elem(&answering, &server, &device, BPF_ANY);
}

// Of a frame that the engine has passed: what it drops teaches nothing. A live
// subscriber's address moves only to a server, who is known by what he answers.
static __always_inline void learn(const struct filter_station *station, __u32 device,
                                  const struct filter_port *port,
                                  const struct filter_bridge *bridge, __u8 code, __u64 now) {
    if (station->address[0] & 1) return;
    const int server = port->role == FILTER_NETWORK && (code == CODE_PADO || code == CODE_PADS);
    if (server) learn_server(station, device);
    struct filter_place *place = bpf_map_lookup_elem(&stations, station);
    if (place && place->device == device) {
        if (now > place->seen && now - place->seen > SECOND) place->seen = now;
        place->released = code == CODE_PADT;
        return;
    }
    if (code == CODE_PADT) return;
    struct filter_port *owner =
        place && !place->released ? find_port(place, now, port->bridge, bridge) : 0;
    if (owner && !server && (owner->role == FILTER_SUBSCRIBER || port->role == FILTER_SUBSCRIBER))
        return;
    __s64 cell = take_cell(port, now);
    if (cell >= 0) settle(station, device, cell, now);
}

// Writes the name of the device that a frame for `station` leaves by; the
// bridge's own name when several are meant. Zero when there is none: the
// station lives where the frame came from. Nothing ever goes from subscriber
// to subscriber.
static __always_inline int choose_output(const struct filter_station *station, __u32 device,
                                         const struct filter_port *port,
                                         const struct filter_bridge *bridge, __u64 now,
                                         char *name) {
    __u32 other = port->role == FILTER_NETWORK ? FILTER_SUBSCRIBER : FILTER_NETWORK;
    struct filter_place *place =
        station->address[0] & 1 ? 0 : bpf_map_lookup_elem(&stations, station);
    struct filter_port *output = place ? find_port(place, now, port->bridge, bridge) : 0;
    if (output && place->device == device && port->role == FILTER_NETWORK) return 0;
    if (output && port->role == FILTER_SUBSCRIBER && output->role == FILTER_SUBSCRIBER) output = 0;
    if (!output && bridge->sole[other]) {
        __u32 sole = bridge->sole[other];
        output = bpf_map_lookup_elem(&ports, &sole);
    }
    __builtin_memcpy(name, output ? output->name : bridge->name, FILTER_NAME_SIZE);
    return 1;
}
