// What a frame tells of its line.
#include "fe/frame.h"
#include "fe/line_book.h"

#include <algorithm>
#include <string_view>

namespace ia {

namespace {

constexpr std::uint16_t tag_service_name = 0x0101, tag_ac_name = 0x0102;
constexpr std::uint16_t tag_service_name_error = 0x0201;

// After so long without a request another attempt begins.
constexpr std::uint64_t attempt_ns = 60'000'000'000;

// What an answer says, beside its code: the bodies of tags.
struct Said {
    std::uint8_t error = LINE_NO_SESSION;
    std::string_view error_text, ac_name, service;
};

// Up to a zero.
std::string_view body_of(const Frame &frame, const Tag &tag) {
    const std::size_t begin = tag.at + Tag::header_size;
    const std::size_t end = std::min(tag.end(), frame.end());
    if (end <= begin) return {};
    const auto *text = reinterpret_cast<const char *>(frame.bytes().data()) + begin;
    return {text, strnlen(text, end - begin)};
}

Said read_answer(const Frame &frame) {
    Said said;
    for (std::optional<Tag> tag = frame.first_tag(); tag; tag = frame.next_tag(*tag)) {
        if (tag->type == TAG_END_OF_LIST) break;
        if (tag->type == tag_ac_name) said.ac_name = body_of(frame, *tag);
        if (tag->type == tag_service_name && said.service.empty())
            said.service = body_of(frame, *tag);
        if (tag->type < tag_service_name_error || tag->type > TAG_GENERIC_ERROR) continue;
        said.error =
            static_cast<std::uint8_t>(tag->type - tag_service_name_error + LINE_SERVICE_NAME_ERROR);
        said.error_text = body_of(frame, *tag);
    }
    return said;
}

template <std::size_t Size>
void keep_text(char (&field)[Size], std::string_view text) {
    text = text.substr(0, Size - 1);
    if (field == text) return;
    field[text.copy(field, Size - 1)] = '\0';
}

// One that is like the last event is counted there.
void add(const LineBook &book, Line &line, std::uint8_t kind, std::uint64_t server = 0,
         std::uint16_t session = 0, std::uint8_t error = 0, std::string_view text = {}) {
    text = text.substr(0, sizeof line_event{}.text - 1);
    line_event *event = line.event;
    const std::uint64_t client = line.clients[line.client].told.client;
    if (line.events != 0 && event->kind == kind && event->client == client &&
        event->server == server && event->session == session && event->error == error &&
        event->text == text) {
        event->last = book.now;
        ++event->count;
        return;
    }
    line.unanswered = unanswered(line);
    if (line.events++ != 0 && ++event == std::end(line.log)) event = line.log;
    line.event = event;
    event->first = event->last = book.now;
    event->count = 1;
    event->kind = kind;
    event->error = error;
    event->session = session;
    event->client = client;
    event->server = server;
    keep_text(event->text, text);
    line.repeats = 0;
}

void heard(LineBook &book, Line &line) {
    book.recent[line.key >> 32] = &line;
    if (!line.open) {
        take_off(line);
        put_last_heard(book, line);
    }
    line.last = line.clients[line.client].told.heard = book.now;
}

Line *line_of(LineBook &book, const Frame &frame) {
    const std::uint64_t key = line_key(frame.port->port_id, vlans_of(frame.bytes().data()));
    Line *line = find_line(book, key);
    return line ? line : make_line(book, key);
}

void note_request(LineBook &book, const Frame &frame, std::uint8_t kind, std::uint64_t client) {
    Line *line = line_of(book, frame);
    if (!line) return;
    if (line->clients[line->client].told.client != client) choose_client(book, *line, client);
    if (kind <= LINE_PADR) {
        if (unanswered(*line) == 0) line->unanswered_since = book.now;
        std::uint64_t &since = kind == LINE_PADI ? line->asked : line->requested;
        if (since == 0 || book.now - line->last > attempt_ns) since = book.now;
    }
    heard(book, *line);
    add(book, *line, kind);
    if (kind <= LINE_PADR) line->repeats = request_of(client, kind == LINE_PADI ? PADI : PADR);
}

// The server's place; of a new one that of the server silent for longest.
server_row &server_of(LineBook &book, const Frame &frame, std::uint64_t server) {
    auto found = std::ranges::find(book.servers, server, &server_row::server);
    if (found == book.servers.end()) {
        if (book.servers.size() < servers_max)
            found = book.servers.insert(found, server_row{});  // its room is reserved
        else
            found = std::ranges::min_element(book.servers, {}, &server_row::last_heard);
        *found = {};
        found->server = server;
        found->first_heard = book.now;
    }
    found->last_heard = book.now;
    found->vlan = frame.record().vlan & 0xFFF;
    found->cvlan = frame.record().cvlan & 0xFFF;
    return *found;
}

// From the request until now, and that the request is answered.
std::uint32_t answer_time(const LineBook &book, std::uint64_t &asked, server_row &server) {
    if (asked == 0) return 0;
    const auto taken = static_cast<std::uint32_t>((book.now - asked) / 1000);
    asked = 0;
    std::size_t step = 0;
    for (std::uint32_t limit = 10'000; step + 1 < answer_time_steps && taken > limit; limit *= 10)
        ++step;
    ++server.answer_times[step];
    server.longest_us = std::max(server.longest_us, taken);
    return std::max(taken, 1U);
}

// Requests so far apart are attempts of their own.
bool is_slow(const line_event &event) {
    return event.last - event.first > attempt_ns * (event.count - 1);
}

void refuse_line(const LineBook &book, Line &line, std::uint64_t server, const Said &said) {
    if (line.refusals++ == 0) line.refused_since = book.now;
    line.offered = false;
    add(book, line, LINE_REFUSED, server, 0, said.error, said.error_text);
}

void note_answer(LineBook &book, const Frame &frame, Line *line, std::uint8_t code) {
    const std::uint64_t server = address(frame.addresses().source);
    const std::uint16_t session = frame.header().session_id;
    const Said said = read_answer(frame);
    const bool refusal = said.error != LINE_NO_SESSION || (code == PADS && session == 0);
    server_row &row = server_of(book, frame, server);
    if (!said.ac_name.empty()) keep_text(row.ac_name, said.ac_name);
    if (!said.service.empty()) keep_text(row.service, said.service);
    ++(refusal ? row.refusals : code == PADO ? row.offers : row.sessions);
    if (!line) return;

    std::uint64_t &asked = code == PADO ? line->asked : line->requested;
    if (line->repeats && is_slow(*line->event)) asked = line->event->last;
    line->repeats = line->unanswered = 0;
    const std::uint32_t taken = answer_time(book, asked, row);
    if (taken) (code == PADO ? line->offer_us : line->confirm_us) = taken;
    if (refusal) return refuse_line(book, *line, server, said);
    line->offered = code == PADO;
    if (code == PADS) {
        line->refusals = 0;
        set_session(book, *line, line->clients[line->client], session, server);
    }
    add(book, *line, code == PADO ? LINE_PADO : LINE_PADS, server, session, 0, row.ac_name);
}

void note_server_end(LineBook &book, const Frame &frame, Line *line) {
    const std::uint64_t server = address(frame.addresses().source);
    ++server_of(book, frame, server).ended;
    if (!line) return;
    const std::uint16_t session = frame.header().session_id;
    LineClient &client = line->clients[line->client];
    if (client.told.session == session) set_session(book, *line, client, 0, server);
    add(book, *line, LINE_SERVER_ENDED, server, session);
}

void note_client_end(LineBook &book, const Frame &frame, std::uint64_t source) {
    Line *line = line_of(book, frame);
    if (!line) return;
    choose_client(book, *line, source);
    heard(book, *line);
    const std::uint16_t session = frame.header().session_id;
    LineClient &client = line->clients[line->client];
    if (client.told.session == session) set_session(book, *line, client, 0, client.told.server);
    add(book, *line, LINE_CLIENT_ENDED, address(frame.addresses().destination), session);
}

// What the engine did but pass the frame on as it should be.
constexpr std::uint8_t kind_of(Outcome outcome) {
    switch (outcome) {
        case Outcome::answered: return LINE_OVERSIZE;
        case Outcome::vlan_not_enabled: return LINE_VLAN_NOT_ENABLED;
        case Outcome::port_disabled: return LINE_PORT_DISABLED;
        case Outcome::not_discovery: return LINE_NOT_DISCOVERY;
        case Outcome::payload_truncated: return LINE_TRUNCATED;
        case Outcome::wrong_role: return LINE_WRONG_ROLE;
        case Outcome::untrusted_tag: return LINE_UNTRUSTED_TAG;
        case Outcome::tag_truncated: return LINE_TAG_TRUNCATED;
        case Outcome::no_local_mac: return LINE_NO_LOCAL_MAC;
        default: return LINE_NO_MEMORY;
    }
}

// One that was passed on, of a server or of a line's port. A server on a line's port
// has its answers noted on the line of the client that they go to.
void note_passed(LineBook &book, const Frame &frame) {
    const auto &[destination, source] = frame.addresses();
    const std::uint8_t code = frame.header().code;
    const std::uint64_t client = address(destination);
    const auto line_answered = [&] {
        return line_of_client(book, client, vlans_of(frame.bytes().data()));
    };
    if (code == PADO || code == PADS) return note_answer(book, frame, line_answered(), code);
    if (frame.port->faces_network()) {
        if (code == PADT) note_server_end(book, frame, line_answered());
        return;
    }
    if (code == PADT) return note_client_end(book, frame, address(source));
    note_request(book, frame, LINE_OTHER_CODE, address(source));
}

void note_other(LineBook &book, const Frame &frame, Outcome outcome) {
    const auto &[destination, source] = frame.addresses();
    const std::uint8_t kind = kind_of(outcome);
    if (!frame.port->faces_network())  // an answered frame is on its way back
        return note_request(book, frame, kind,
                            address(outcome == Outcome::answered ? destination : source));
    const std::uint32_t vlans = vlans_of(frame.bytes().data());
    if (Line *line = line_of_client(book, address(destination), vlans))
        add(book, *line, kind, address(source));
}

}  // namespace

std::uint32_t unanswered(const Line &line) {
    return line.unanswered + (line.repeats ? line.event->count : 0);
}

void note_frame(LineBook &book, const Frame &frame, Outcome outcome) {
    if (!frame.port) return;
    if (outcome != Outcome::forwarded) return note_other(book, frame, outcome);
    const std::uint8_t code = frame.header().code;
    const std::uint64_t source = address(frame.addresses().source);
    if ((code == PADI || code == PADR) && !frame.port->faces_network())
        return note_request(book, frame, code == PADI ? LINE_PADI : LINE_PADR, source);
    note_passed(book, frame);
}

}  // namespace ia
