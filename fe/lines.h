// What the engine remembers of each line and of each server: made with the bridge,
// bounded, always on. Everything here is under the bridge's lock.
//
// A request belongs to the line that it came from, an answer to the line whose
// client has its destination and VLANs. A line is found by its key, which is its
// port and VLANs as one number.
#pragma once

#include "fe/discovery.h"
#include "pppoeia/lines.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace ia {

struct Frame;

inline constexpr std::size_t lines_max = 4000, servers_max = 64;

struct LineClient {
    line_client told;
    std::uint32_t next;  // the next of its bucket, as LineBook::clients counts; 0: none
};

// Records of plain numbers: memory that no line has used yet is not touched.
struct Line {
    std::uint64_t key;
    std::uint64_t repeats;  // what the last event is, when it is a request: code and client
    Line *next;             // of its bucket
    Line *newer, *older;    // of the lines without a session
    line_event *event;      // the last one
    std::uint64_t last;     // time at which the line was heard, as all below
    std::uint64_t placed;   // in the list of those without a session
    std::uint32_t open;     // sessions
    std::uint32_t client;   // the last one's position
    std::uint32_t events, refusals;
    std::uint32_t unanswered;  // requests, without those of the last event
    std::uint32_t offer_us, confirm_us;
    bool offered;  // by the last answer
    std::uint64_t first, unanswered_since, refused_since, asked, requested;
    LineClient clients[line_clients_max];
    line_event log[line_events_max];
};
static_assert(lines_max * sizeof(Line) < (8U << 20) - (1U << 18));

struct LineBook {
    explicit LineBook(std::uint32_t ports);

    // The time of what is being noted, steady.
    std::uint64_t now = 0;
    std::uint64_t seed;
    std::uint64_t looking_since;  // since 1970
    std::unique_ptr<Line[]> lines;
    std::uint32_t used = 0;  // of them
    std::uint32_t forgotten = 0, full = 0;
    Line ends{};                 // newer: the first to give way; older: the last one placed
    std::vector<Line *> recent;  // by port, the one last heard; &ends for none
    std::array<Line *, 8192> by_key{};
    std::array<std::uint32_t, 16384> by_client{};  // (line's number - 1) * 4 + position + 1
    std::vector<server_row> servers;
};

// Tells the book the time; once for a batch.
void tell_time(LineBook &book);

// Keeps what became of a frame, as it is when it leaves. Never allocates.
void note_frame(LineBook &book, const Frame &frame, Outcome outcome);

// Requests that wait for an answer.
std::uint32_t unanswered(const Line &line);

}  // namespace ia
