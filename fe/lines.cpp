#include "fe/lines.h"

#include "fe/line_book.h"

#include <algorithm>
#include <chrono>
#include <random>

namespace ia {

namespace {

std::uint64_t client_key(std::uint64_t client, std::uint64_t line) {
    return client ^ (line & 0xFFFFFFFF) << 32;
}

std::uint64_t random_seed() {
    std::random_device source;
    return std::uint64_t{source()} << 32 | source();
}

// Client number n has position (n - 1) % 4 in line (n - 1) / 4.
LineClient &client_at(LineBook &book, std::uint32_t number) {
    return book.lines[(number - 1) / line_clients_max].clients[(number - 1) % line_clients_max];
}

std::uint32_t number_of(const LineBook &book, const Line &line) {
    return static_cast<std::uint32_t>(&line - book.lines.get()) + 1;
}

std::uint32_t client_number(const LineBook &book, const Line &line, std::uint32_t position) {
    constexpr std::uint32_t each = line_clients_max;
    return (number_of(book, line) - 1) * each + position + 1;
}

void drop_client(LineBook &book, Line &line, std::uint32_t position) {
    LineClient &client = line.clients[position];
    if (client.told.client == 0) return;
    const std::uint32_t number = client_number(book, line, position);
    std::uint32_t *at =
        &bucket(book.by_client, book.seed, client_key(client.told.client, line.key));
    while (*at != number) at = &client_at(book, *at).next;
    *at = client.next;
    client = {};
}

void drop_line(LineBook &book, Line &line) {
    take_off(line);
    Line *&recent = book.recent[line.key >> 32];
    if (recent == &line) recent = &book.ends;
    for (std::uint32_t i = 0; i < line_clients_max; ++i) drop_client(book, line, i);
    Line **at = &bucket(book.by_key, book.seed, line.key);
    while (*at != &line) at = &(*at)->next;
    *at = line.next;
    ++book.forgotten;
}

// One that repeated its request since it was placed is placed anew.
Line *oldest(LineBook &book) {
    Line *line = book.ends.newer;
    while (line->last > line->placed) {
        take_off(*line);
        put_last_heard(book, *line);
        line = book.ends.newer;
    }
    return line;
}

}  // namespace

LineBook::LineBook(std::uint32_t ports)
    : seed(random_seed()),
      looking_since(static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch() /
                                               std::chrono::nanoseconds(1))),
      lines(std::make_unique_for_overwrite<Line[]>(lines_max)),
      recent(ports, &ends) {
    ends.newer = ends.older = &ends;
    servers.reserve(servers_max);
    tell_time(*this);
}

void tell_time(LineBook &book) {
    book.now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                          std::chrono::nanoseconds(1));
}

Line *make_line(LineBook &book, std::uint64_t key) {
    Line *line = oldest(book);
    if (book.used < lines_max) {
        line = &book.lines[book.used++];
    } else if (line == &book.ends) {
        ++book.full;
        return nullptr;
    } else {
        drop_line(book, *line);
    }
    *line = {};
    line->key = key;
    line->first = book.now;
    line->event = line->log;
    Line *&first = bucket(book.by_key, book.seed, key);
    line->next = first;
    first = line;
    put_last_heard(book, *line);
    return line;
}

void choose_client(LineBook &book, Line &line, std::uint64_t client) {
    LineClient *const begin = line.clients, *const end = begin + line_clients_max;
    const LineClient *found = std::find_if(
        begin, end, [&](const LineClient &known) { return known.told.client == client; });
    if (found == end) {
        found = std::min_element(begin, end, [](const LineClient &a, const LineClient &b) {
            const bool open_a = a.told.session != 0, open_b = b.told.session != 0;
            return open_a != open_b ? open_b : a.told.heard < b.told.heard;
        });
        const auto position = static_cast<std::uint32_t>(found - begin);
        LineClient &made = line.clients[position];
        set_session(book, line, made, 0, 0);
        drop_client(book, line, position);
        std::uint32_t &first = bucket(book.by_client, book.seed, client_key(client, line.key));
        made.told.client = client;
        made.next = first;
        first = client_number(book, line, position);
    }
    line.client = static_cast<std::uint32_t>(found - begin);
}

Line *line_of_client(LineBook &book, std::uint64_t client, std::uint32_t vlans) {
    std::uint32_t number = bucket(book.by_client, book.seed, client_key(client, vlans));
    for (; number != 0; number = client_at(book, number).next) {
        Line &line = book.lines[(number - 1) / line_clients_max];
        if (client_at(book, number).told.client != client ||
            static_cast<std::uint32_t>(line.key) != vlans)
            continue;
        line.client = (number - 1) % line_clients_max;
        return &line;
    }
    return nullptr;
}

void set_session(LineBook &book, Line &line, LineClient &client, std::uint32_t session,
                 std::uint64_t server) {
    const bool was = client.told.session != 0, is = session != 0;
    client.told.session = session;
    client.told.server = server;
    client.told.since = book.now;
    if (was == is) return;
    if (is && line.open++ == 0) take_off(line);
    if (was && --line.open == 0) put_last_heard(book, line);
}

}  // namespace ia
