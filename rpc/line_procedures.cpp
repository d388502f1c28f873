// The server functions that tell of lines and servers; as in rpc/node_procedures.cpp, a
// reply lasts until the next call of its procedure.
#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "pppoeia/node.h"
#include "rpc/pppoeia_node.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <span>
#include <vector>

using namespace ia;

namespace {

struct EventWords {
    const char *word, *meaning;
};

EventWords words_of(std::uint8_t kind) {
    static constexpr EventWords known[] = {
#define ROW(name, word, meaning) {word, meaning},
        LINE_EVENTS(ROW)
#undef ROW
    };
    return kind < std::size(known) ? known[kind] : EventWords{"unknown", "unknown to this release"};
}

char *word_of(std::uint32_t state) {
    static constexpr const char *known[] = {
#define ROW(name, word) word,
        LINE_STATES(ROW)
#undef ROW
    };
    return const_cast<char *>(state < std::size(known) ? known[state] : "unknown");
}

rpcNodeLineRow row_of(const line_row &row) {
    return {row.port,           row.vlan,           row.cvlan,
            word_of(row.state), row.sessions,       row.requests,
            row.refusals,       row.requests_since, row.refusals_since,
            row.first_heard,    row.last_heard,     row.client,
            row.server,         row.since,          static_cast<u_short>(row.session)};
}

// A text that a peer sent, whatever its bytes are.
template <class Opaque, std::size_t Size>
Opaque opaque_of(const char (&text)[Size]) {
    return {static_cast<u_int>(strnlen(text, Size)), const_cast<char *>(text)};
}

rpcNodeLineEvent event_of(const line_event &event) {
    const auto [word, meaning] = words_of(event.kind);
    return {event.first,
            event.last,
            event.count,
            const_cast<char *>(word),
            const_cast<char *>(meaning),
            event.error,
            event.session,
            event.client,
            event.server,
            opaque_of<decltype(rpcNodeLineEvent::text)>(event.text)};
}

rpcNodeServer server_of(const server_row &row) {
    rpcNodeServer server{row.server,
                         opaque_of<decltype(rpcNodeServer::acName)>(row.ac_name),
                         opaque_of<decltype(rpcNodeServer::service)>(row.service),
                         row.vlan,
                         row.cvlan,
                         row.first_heard,
                         row.last_heard,
                         row.offers,
                         row.sessions,
                         row.refusals,
                         row.ended,
                         {},
                         row.longest_us};
    std::ranges::copy(row.answer_times, server.answerTimes);
    return server;
}

// Asks for page after page; take(page) keeps what is in it.
template <class Page, class Take>
int read_pages(int (*ask)(const char *, std::uint32_t, Page *), Take take) {
    return shared([&]() -> int {
        Page page{};
        do {
            if (ask(default_bridge, page.next, &page) != 0) return failed;
            take(page);
        } while (page.next != 0);
        return succeeded;
    });
}

}  // namespace

rpcNodeLines *rpc_node_lines_1_svc(svc_req *) {
    static std::vector<rpcNodeLineRow> rows;
    static rpcNodeLines reply;
    rows.clear();
    reply = {};
    reply.result = read_pages(line_rows, [](const line_rows_block &page) {
        for (const line_row &row : std::span(page.rows).first(page.count))
            rows.push_back(row_of(row));
        reply.lookingSince = page.looking_since;
        reply.limit = page.limit;
        reply.forgotten = page.forgotten;
        reply.full = page.full;
    });
    reply.list = {static_cast<u_int>(rows.size()), rows.data()};
    return &reply;
}

rpcNodeLineStory *rpc_node_line_story_1_svc(u_int port, u_short vlan, u_short cvlan, svc_req *) {
    static line_story_block story;
    static std::vector<rpcNodeLineClient> clients;
    static std::vector<rpcNodeLineEvent> events;
    static rpcNodeLineStory reply;
    story = {};
    clients.clear();
    events.clear();
    reply = {};
    reply.result = shared([&] {
        const int result = line_story(default_bridge, port, vlan, cvlan, &story);
        return result == -ESRCH ? not_applicable : EntityResult(entity_result(result));
    });
    reply.lookingSince = story.looking_since;
    reply.line = row_of(story.row);
    reply.offerUs = story.offer_us;
    reply.confirmUs = story.confirm_us;
    for (const line_client &client : story.clients)
        if (client.client != 0)
            clients.push_back({client.client, client.server, client.since, client.heard,
                               static_cast<u_short>(client.session)});
    for (const line_event &event : std::span(story.events).first(story.event_count))
        events.push_back(event_of(event));
    reply.clients = {static_cast<u_int>(clients.size()), clients.data()};
    reply.events = {static_cast<u_int>(events.size()), events.data()};
    return &reply;
}

rpcNodeServers *rpc_node_servers_1_svc(svc_req *) {
    static std::vector<server_row> servers;
    static std::vector<rpcNodeServer> records;
    static rpcNodeServers reply;
    servers.clear();
    records.clear();
    reply = {};
    reply.result = read_pages(server_rows, [](const server_rows_block &page) {
        servers.insert(servers.end(), page.rows, page.rows + page.count);
    });
    std::ranges::transform(servers, std::back_inserter(records), server_of);
    reply.list = {static_cast<u_int>(records.size()), records.data()};
    return &reply;
}
