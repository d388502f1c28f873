// What the engine tells of its lines and servers.
#include "fe/base/trace.h"
#include "fe/line_book.h"
#include "pppoeia/node.h"
#include "store/operation.h"

#include <algorithm>
#include <chrono>

namespace ia {

namespace {

// From the book's steady time to the time of day, as the clock is now.
struct TimeOfDay {
    explicit TimeOfDay(LineBook &book) {
        tell_time(book);
        now = book.now;
        const auto day = std::chrono::system_clock::now().time_since_epoch();
        offset = static_cast<std::uint64_t>(day / std::chrono::nanoseconds(1)) - now;
    }
    std::uint64_t operator()(std::uint64_t steady) const { return steady ? steady + offset : 0; }

    std::uint64_t now, offset;
};

Be16 vlan_of(const Line &line, std::size_t at) {
    Be16 vlan;
    const auto vlans = static_cast<std::uint32_t>(line.key);
    std::memcpy(&vlan, reinterpret_cast<const char *>(&vlans) + at, sizeof vlan);
    return vlan;
}

std::uint32_t state_of(const Line &line, std::uint64_t now) {
    if (line.open) return STATE_ONLINE;
    if (now - line.last > line_silent_after_ns) return STATE_SILENT;
    if (line.refusals) return STATE_REFUSED;
    return line.offered && !unanswered(line) ? STATE_OFFERED : STATE_ASKING;
}

line_row row_of(const Line &line, const TimeOfDay &day) {
    const LineClient *client = &line.clients[line.client];
    for (const LineClient &other : line.clients)
        if (other.told.session && (!client->told.session || other.told.since > client->told.since))
            client = &other;
    const line_client &told = client->told;
    const bool open = told.session != 0;
    return {static_cast<std::uint32_t>(line.key >> 32),
            vlan_of(line, 0),
            vlan_of(line, sizeof(Be16)),
            state_of(line, day.now),
            line.open,
            unanswered(line),
            line.refusals,
            day(unanswered(line) ? line.unanswered_since : 0),
            day(line.refusals ? line.refused_since : 0),
            day(line.first),
            day(line.last),
            told.client,
            open ? told.server : 0,
            open ? day(told.since) : 0,
            told.session,
            0};
}

void tell_story(const Line &line, const TimeOfDay &day, line_story_block &out) {
    out.row = row_of(line, day);
    out.offer_us = line.offer_us;
    out.confirm_us = line.confirm_us;
    std::ranges::transform(line.clients, out.clients, [&](const LineClient &client) {
        line_client told = client.told;
        told.since = told.session ? day(told.since) : 0;
        told.heard = day(told.heard);
        return told;
    });
    const std::size_t count = std::min<std::size_t>(line.events, line_events_max);
    const auto last = static_cast<std::size_t>(line.event - line.log);
    for (std::size_t i = 0; i < count; ++i) {
        line_event &event = out.events[i];
        event = line.log[(last + 1 + line_events_max - count + i) % line_events_max];
        event.first = day(event.first);
        event.last = day(event.last);
    }
    out.event_count = static_cast<std::uint32_t>(count);
}

// work(LineBook &, const TimeOfDay &)
template <class Work>
int on_book(const char *operation, const char *bridge, Work work) {
    trace_call(operation, bridge);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &found) {
        if (!found.lines) return refuse(operation, -ENOENT);
        return work(*found.lines, TimeOfDay(*found.lines));
    });
}

}  // namespace

int fe_line_rows(const char *bridge, std::uint32_t from, line_rows_block *out) {
    return on_book(__func__, bridge, [&](LineBook &book, const TimeOfDay &day) {
        *out = {};
        out->looking_since = book.looking_since;
        out->kept = book.used;
        out->limit = lines_max;
        out->forgotten = book.forgotten;
        out->full = book.full;
        while (from < book.used && out->count < line_rows_max)
            out->rows[out->count++] = row_of(book.lines[from++], day);
        out->next = from < book.used ? from : 0;
        return 0;
    });
}

int fe_line_story(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
                  line_story_block *out) {
    return on_book(__func__, bridge, [&](LineBook &book, const TimeOfDay &day) {
        *out = {};
        out->looking_since = book.looking_since;
        kvbridge_frame_hdr record{};
        record.vlan = vid;
        record.cvlan = cvid;
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(&record);
        const Line *line = find_line(book, line_key(port, vlans_of(bytes)));
        if (!line) return refuse(__func__, -ESRCH);
        tell_story(*line, day, *out);
        return 0;
    });
}

int fe_server_rows(const char *bridge, std::uint32_t from, server_rows_block *out) {
    return on_book(__func__, bridge, [&](LineBook &book, const TimeOfDay &day) {
        *out = {};
        for (; from < book.servers.size() && out->count < server_rows_max; ++from) {
            server_row &row = out->rows[out->count++];
            row = book.servers[from];
            row.first_heard = day(row.first_heard);
            row.last_heard = day(row.last_heard);
        }
        out->next = from < book.servers.size() ? from : 0;
        return 0;
    });
}

}  // namespace ia
