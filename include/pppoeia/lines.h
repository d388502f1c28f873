// What the engine tells of its lines: a line is a bridge, an input port, an outer
// and an inner VLAN. The records travel as they are (client/wire.h), little-endian.
//
// An address is a number here: its first byte is the lowest. Times are nanoseconds
// since 1970; 0 is never. VLAN 0 is untagged, customer VLAN 0xFFF is none.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ia {

// What happened on a line: its name, the word for programs, the words for people.
// New rows go to the end, so that processes of two releases mean the same.
// clang-format off
#define LINE_EVENTS(ROW) \
    ROW(PADI, "padi", "PADI passed on") \
    ROW(PADR, "padr", "PADR passed on") \
    ROW(PADO, "pado", "PADO passed back") \
    ROW(PADS, "pads", "PADS passed back, session open") \
    ROW(REFUSED, "refused", "refusal passed back") \
    ROW(CLIENT_ENDED, "client-ended", "PADT of the client") \
    ROW(SERVER_ENDED, "server-ended", "PADT of the server") \
    ROW(OTHER_CODE, "other-code", "frame of another code passed on") \
    ROW(OVERSIZE, "oversize", "too large with its IDs, answered with Generic-Error") \
    ROW(PORT_DISABLED, "port-disabled", "passed unchanged, the port's role is disabled") \
    ROW(VLAN_NOT_ENABLED, "vlan-not-enabled", "passed unchanged, the VLAN is not enabled") \
    ROW(WRONG_ROLE, "wrong-role", "dropped, the port's role does not send this") \
    ROW(UNTRUSTED_TAG, "untrusted-tag", "dropped, a line tag from an untrusted port") \
    ROW(TRUNCATED, "truncated", "dropped, its payload runs past its end") \
    ROW(TAG_TRUNCATED, "tag-truncated", "dropped, its line tag runs past its end") \
    ROW(NO_LOCAL_MAC, "no-local-mac", "dropped, too large with its IDs and no address to answer from") \
    ROW(NO_MEMORY, "no-memory", "dropped, the engine had no memory") \
    ROW(NOT_DISCOVERY, "not-discovery", "dropped, no Discovery frame behind its VLAN tags")

enum line_event_kind : std::uint8_t {
#define ROW(name, word, meaning) LINE_##name,
    LINE_EVENTS(ROW)
#undef ROW
    LINE_EVENT_COUNT
};

// How a line is: the name, the word.
#define LINE_STATES(ROW) \
    ROW(ASKING, "asking") \
    ROW(OFFERED, "offered") \
    ROW(ONLINE, "online") \
    ROW(REFUSED, "refused") \
    ROW(SILENT, "silent")

enum line_state : std::uint32_t {
#define ROW(name, word) STATE_##name,
    LINE_STATES(ROW)
#undef ROW
    LINE_STATE_COUNT
};
// clang-format on

// The error tag of a refusal; none is a PADS without a session.
enum line_error : std::uint8_t {
    LINE_NO_SESSION,
    LINE_SERVICE_NAME_ERROR,
    LINE_AC_SYSTEM_ERROR,
    LINE_GENERIC_ERROR,
};

// A line without a session that was heard nothing of for so long is silent.
inline constexpr std::uint64_t line_silent_after_ns = 120'000'000'000;

// Like events that follow one another are one, counted.
struct line_event {
    std::uint64_t first, last;
    std::uint32_t count;
    std::uint8_t kind;   // line_event_kind
    std::uint8_t error;  // line_error, of a refusal
    std::uint16_t session;
    std::uint64_t client;
    std::uint64_t server;
    char text[40];  // of an answer the AC-Name, of a refusal the error tag's, cut
};
static_assert(sizeof(line_event) == 80);

struct line_client {
    std::uint64_t client;  // 0: no such entry
    std::uint64_t server;  // of the session
    std::uint64_t since;   // of the session
    std::uint64_t heard;
    std::uint32_t session;  // 0: none is open
    std::uint32_t unused;
};
static_assert(sizeof(line_client) == 40);

// A line at a glance. Client, server, session and since are those of the youngest
// session, else of the last client.
struct line_row {
    std::uint32_t port;
    std::uint16_t vlan, cvlan;
    std::uint32_t state;     // line_state
    std::uint32_t sessions;  // open ones
    std::uint32_t requests;  // PADI and PADR without an answer since the last answer
    std::uint32_t refusals;  // since the last session, or ever
    std::uint64_t requests_since, refusals_since;
    std::uint64_t first_heard, last_heard;
    std::uint64_t client, server, since;
    std::uint32_t session;
    std::uint32_t unused;
};
static_assert(sizeof(line_row) == 88);

inline constexpr std::size_t line_clients_max = 4, line_events_max = 16;

struct line_story_block {
    std::uint64_t looking_since;  // the engine; nothing is known of before
    line_row row;
    std::uint32_t offer_us, confirm_us;  // the last PADI to PADO and PADR to PADS; 0: none yet
    line_client clients[line_clients_max];
    std::uint32_t event_count, unused;
    line_event events[line_events_max];  // the oldest first
};
static_assert(sizeof(line_story_block) == 8 + 88 + 8 + 4 * 40 + 8 + 16 * 80);

inline constexpr std::size_t line_rows_max = 40, server_rows_max = 16;

// A page of lines. `next` is where the next page begins; 0 ends them.
struct line_rows_block {
    std::uint64_t looking_since;
    std::uint32_t next, count;
    std::uint32_t kept, limit;      // lines that are known, and at most
    std::uint32_t forgotten, full;  // silent ones that gave way; frames of lines without room
    line_row rows[line_rows_max];
};
static_assert(sizeof(line_rows_block) == 32 + 40 * 88);

inline constexpr std::size_t answer_time_steps = 5;  // up to 10, 100 ms, 1, 10 s; longer

struct server_row {
    std::uint64_t server;
    std::uint64_t first_heard, last_heard;
    std::uint32_t offers, sessions, refusals, ended;
    std::uint32_t answer_times[answer_time_steps];  // of PADI to PADO and PADR to PADS
    std::uint32_t longest_us;
    std::uint16_t vlan, cvlan;  // of the last answer
    std::uint32_t unused;
    char ac_name[64], service[64];
};
static_assert(sizeof(server_row) == 200);

struct server_rows_block {
    std::uint32_t count, next;
    server_row rows[server_rows_max];
};
static_assert(sizeof(server_rows_block) == 8 + 16 * 200);

}  // namespace ia
