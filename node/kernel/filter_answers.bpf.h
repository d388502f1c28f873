// Answers only to who has asked: requests are recorded where the engine has passed
// them, answers are checked where they come in from the network. The same of
// sessions, by what opens and ends them.
#pragma once

#include "node/kernel/filter_stations.bpf.h"
#include "node/kernel/filter_tags.bpf.h"

#define CODE_PADI 0x09
#define CODE_PADR 0x19
#define ANSWER_TIME (30 * SECOND)

static __always_inline int same_address(const __u8 *a, const __u8 *b) {
    __u8 differ = 0;
#pragma unroll
    for (int i = 0; i < ETH_ALEN; i++) differ |= a[i] ^ b[i];
    return !differ;
}

static __always_inline int is_recent(__u64 then, __u64 now) {
    return then && (now < then || now - then <= ANSWER_TIME);
}

static __always_inline struct filter_server server_of(const struct filter_station *station) {
    struct filter_server server = {.bridge = station->bridge};
    __builtin_memcpy(server.address, station->address, ETH_ALEN);
    return server;
}

static __always_inline struct filter_session session_of(const struct filter_station *client,
                                                        const __u8 *server, __u16 number) {
    struct filter_session session = {.client = *client, .number = number};
    __builtin_memcpy(session.server, server, ETH_ALEN);
    return session;
}

// A list of servers, or so many as come first, or both.
static __always_inline int is_allowed(const struct filter_station *source,
                                      const struct filter_bridge *bridge) {
    if (!bridge->policy.servers_checked) return 1;
    struct filter_server server = server_of(source);
    __u32 number = source->bridge;
    if (bpf_map_lookup_elem(&servers, &server)) return 1;
    __u32 *seen = bpf_map_lookup_elem(&servers_seen, &number);
    return seen && *seen < bridge->policy.servers_first;
}

static __always_inline int was_asked(const struct filter_station *client,
                                     const struct filter_station *server,
                                     const struct filter_message *message, __u64 now) {
    struct filter_asked asked = {.client = *client, .uniq = message->uniq};
    struct filter_request *request = bpf_map_lookup_elem(&requests, &asked);
    if (!request) return 0;
    if (message->code == CODE_PADO) return is_recent(request->padi, now);
    return is_recent(request->padr, now) && same_address(request->server, server->address);
}

// For a while after its end both ends may say so, the client from its own port only.
static __always_inline int has_session(const struct filter_station *client, const __u8 *server,
                                       __u16 number, __u32 client_device, __u64 now) {
    struct filter_session session = session_of(client, server, number);
    struct filter_session_state *state = bpf_map_lookup_elem(&sessions, &session);
    if (!state || (state->ended && !is_recent(state->ended, now))) return 0;
    return !client_device || !state->device || state->device == client_device;
}

// What is wrong with an answer from the network, or with the end of a session.
static __always_inline enum frame_outcome answer_fault(const struct filter_station *source,
                                                       const struct filter_station *destination,
                                                       const struct filter_message *message,
                                                       const struct filter_port *port,
                                                       const struct filter_bridge *bridge,
                                                       __u32 device, __u64 now) {
    const int network = port->role == FILTER_NETWORK;
    if (message->code == CODE_PADT) {
        const struct filter_station *client = network ? destination : source;
        const struct filter_station *server = network ? source : destination;
        return has_session(client, server->address, message->session, network ? 0 : device, now)
                   ? OUTCOME_HANDED
                   : OUTCOME_NO_SESSION;
    }
    if (!network || (message->code != CODE_PADO && message->code != CODE_PADS))
        return OUTCOME_HANDED;
    if (!is_allowed(source, bridge)) return OUTCOME_NOT_A_SERVER;
    return was_asked(destination, source, message, now) ? OUTCOME_HANDED : OUTCOME_NOT_ASKED;
}

static __always_inline void record_request(const struct filter_station *client,
                                           const struct filter_message *message, __u64 now) {
    struct filter_asked asked = {.client = *client, .uniq = message->uniq};
    struct filter_request *request = bpf_map_lookup_elem(&requests, &asked);
    if (!request) {
        struct filter_request none = {};
        bpf_map_update_elem(&requests, &asked, &none, BPF_NOEXIST);
        request = bpf_map_lookup_elem(&requests, &asked);
    }
    if (!request) return;
    if (message->code == CODE_PADI) {
        request->padi = now;
        return;
    }
    __builtin_memcpy(request->server, message->destination, ETH_ALEN);
    request->padr = now;
}

static __always_inline void record_server(const struct filter_station *station,
                                          const struct filter_bridge *bridge) {
    if (!bridge->policy.servers_checked) return;
    struct filter_server server = server_of(station);
    __u32 number = station->bridge, yes = 1;
    __u32 *seen = bpf_map_lookup_elem(&servers_seen, &number);
    if (!seen || *seen >= bridge->policy.servers_first) return;
    if (bpf_map_update_elem(&servers, &server, &yes, BPF_NOEXIST) == 0) *seen += 1;
}

static __always_inline void begin_session(const struct filter_station *client, const __u8 *server,
                                          __u16 number) {
    struct filter_session session = session_of(client, server, number);
    struct filter_place *place = bpf_map_lookup_elem(&stations, client);
    struct filter_session_state state = {.device = place ? place->device : 0};
    bpf_map_update_elem(&sessions, &session, &state, BPF_ANY);
}

static __always_inline void end_session(const struct filter_station *client, const __u8 *server,
                                        __u16 number, __u64 now) {
    struct filter_session session = session_of(client, server, number);
    struct filter_session_state *state = bpf_map_lookup_elem(&sessions, &session);
    if (state && !state->ended) state->ended = now;
}

// Of a frame that the engine has passed; only the thread that sends for the bridge
// writes here.
static __always_inline void record_message(const struct filter_station *source,
                                           const struct filter_message *message,
                                           const struct filter_port *port,
                                           const struct filter_bridge *bridge, __u64 now) {
    const int network = port->role == FILTER_NETWORK;
    struct filter_station destination = *source;
    __builtin_memcpy(destination.address, message->destination, ETH_ALEN);
    if (network && message->code == CODE_PADT)
        end_session(&destination, source->address, message->session, now);
    else if (message->code == CODE_PADT)
        end_session(source, message->destination, message->session, now);
    else if (!network && (message->code == CODE_PADI || message->code == CODE_PADR))
        record_request(source, message, now);
    else if (network && (message->code == CODE_PADO || message->code == CODE_PADS))
        record_server(source, bridge);
    if (network && message->code == CODE_PADS && message->session)
        begin_session(&destination, source->address, message->session);
}
