// Finding, making and forgetting lines. For fe/lines.cpp and fe/line_notes.cpp.
#pragma once

#include "fe/frame.h"
#include "fe/lines.h"
#include "platform/kernel_modules.h"

#include <bit>
#include <cstddef>
#include <cstring>

namespace ia {

// A line is found by its port and its VLANs as they lie in the frame's record.
inline constexpr std::size_t vlans_at = offsetof(kvbridge_frame_hdr, vlan);
static_assert(offsetof(kvbridge_frame_hdr, cvlan) == vlans_at + sizeof(Be16));

inline std::uint32_t vlans_of(const std::uint8_t *record) {
    constexpr std::uint8_t no_priorities[] = {0x0F, 0xFF, 0x0F, 0xFF};
    std::uint32_t vlans = 0;
    std::uint32_t mask = 0;
    std::memcpy(&vlans, record + vlans_at, sizeof vlans);
    std::memcpy(&mask, no_priorities, sizeof mask);
    return vlans & mask;
}

inline std::uint64_t line_key(std::uint32_t port, std::uint32_t vlans) {
    return std::uint64_t{port} << 32 | vlans;
}

template <class Entry, std::size_t Size>
Entry &bucket(std::array<Entry, Size> &buckets, std::uint64_t seed, std::uint64_t key) {
    static_assert(std::has_single_bit(Size));
    return buckets[(key ^ seed) * 0x9E3779B97F4A7C15U >> (64 - std::countr_zero(Size))];
}

inline Line *find_line(LineBook &book, std::uint64_t key) {
    Line *line = bucket(book.by_key, book.seed, key);
    while (line && line->key != key) line = line->next;
    return line;
}

// A new line; when there is no place left, in that of a line without a session that has
// been silent for longest since it was placed. Null when every line has a session.
Line *make_line(LineBook &book, std::uint64_t key);

// The client's place in its line, of a new one that of the client without a session
// that was silent for longest.
void choose_client(LineBook &book, Line &line, std::uint64_t client);

// The line of this client on these VLANs, with the client chosen; or null.
Line *line_of_client(LineBook &book, std::uint64_t client, std::uint32_t vlans);

// The client's session, 0 for its end.
void set_session(LineBook &book, Line &line, LineClient &client, std::uint32_t session,
                 std::uint64_t server);

// A line with a session is on no list: it is never forgotten.
inline void take_off(Line &line) {
    line.newer->older = line.older;
    line.older->newer = line.newer;
}

inline void put_last_heard(LineBook &book, Line &line) {
    line.placed = book.now;
    line.newer = &book.ends;
    line.older = book.ends.older;
    line.older->newer = &line;
    book.ends.older = &line;
}

inline std::uint64_t address(const std::uint8_t (&bytes)[6]) {
    std::uint32_t low;
    std::uint16_t high;
    std::memcpy(&low, bytes, sizeof low);
    std::memcpy(&high, bytes + sizeof low, sizeof high);
    return std::uint64_t{high} << 32 | low;
}

// A request's client and code; never 0.
inline std::uint64_t request_of(std::uint64_t client, std::uint8_t code) {
    return client | std::uint64_t{code} << 48;
}

// A client that repeats its request is what there is most of when a network is down:
// only the line, the client and the code are looked at then, and the line keeps its
// place in the list, which make_line() puts right.
inline bool note_repeated(LineBook &book, const Frame &frame) {
    Line &line = *book.recent[frame.port->port_id];
    if (static_cast<std::uint32_t>(line.key) != vlans_of(frame.bytes().data())) return false;
    if (line.repeats != request_of(address(frame.addresses().source), frame.header().code))
        return false;
    line.last = line.event->last = book.now;
    ++line.event->count;
    return true;
}

}  // namespace ia
