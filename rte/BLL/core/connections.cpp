#include "rte/BLL/core/connections.h"

#include "rte/BLL/core/caller.h"

#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>

namespace ia {

namespace {

constexpr int accepts_at_a_time = 16;
constexpr std::uint32_t last_fragment = 0x80000000;

}  // namespace

// --- one connection ----------------------------------------------------------------

std::optional<uid_t> Connections::Connection::user() const {
    if (!exchange.caller.user_known) return std::nullopt;
    return exchange.caller.user;
}

void Connections::Connection::read() {
    const bool begun = calls.begun();
    if (calls.read(socket) == RecordReader::ended) ended = true;
    if (!begun) started = Clock::now();
}

void Connections::Connection::write() {
    const std::vector<char> &reply = exchange.reply;
    while (sent < reply.size()) {
        const ssize_t gone =
            send(socket, reply.data() + sent, reply.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (gone < 0 && errno == EINTR) continue;
        if (gone < 0 && errno == EAGAIN) return;
        if (gone <= 0) {
            ended = true;
            return;
        }
        sent += static_cast<std::size_t>(gone);
    }
    exchange.reply = {};
    sent = 0;
    served = Clock::now();
}

void Connections::Connection::serve() {
    exchange.call = calls.call();
    exchange.understood = false;
    dispatch_call(endpoint, exchange);
    exchange.call = {};
    calls.clear();
    started = served = Clock::now();
    if (!exchange.understood) ended = true;
    if (!replying()) return;
    const std::uint32_t mark =
        htonl(last_fragment | static_cast<std::uint32_t>(exchange.reply.size()));
    const auto *const bytes = reinterpret_cast<const char *>(&mark);
    exchange.reply.insert(exchange.reply.begin(), bytes, bytes + sizeof mark);
    write();
}

// --- all of them -------------------------------------------------------------------

Connections::~Connections() {
    for (const Connection &connection : all_) close(connection.socket);
}

void Connections::accept(const Endpoint &endpoint) {
    for (int count = 0; count < accepts_at_a_time; ++count)
        if (!accept_one(endpoint)) return;
}

bool Connections::accept_one(const Endpoint &endpoint) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    const int socket = accept4(endpoint.transport->xp_fd, reinterpret_cast<sockaddr *>(&address),
                               &length, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) {
        if (errno == EMFILE || errno == ENFILE) close_idlest(std::nullopt);
        return false;
    }
    Connection made{socket, endpoint, {}};
    made.exchange.address = address;
    made.exchange.address_length = length;
    made.exchange.caller = endpoint.family == AF_INET
                               ? tcp_caller(socket, reinterpret_cast<const sockaddr_in &>(address))
                               : local_caller(socket);
    made.served = made.started = Clock::now();
    make_room(made.user());
    all_.push_back(std::move(made));
    return true;
}

void Connections::make_room(std::optional<uid_t> user) {
    const auto of_user = std::ranges::count_if(
        all_, [&](const Connection &connection) { return connection.user() == user; });
    if (static_cast<std::size_t>(of_user) >= most_of_user)
        close_idlest(std::optional(user));
    else if (all_.size() >= most)
        close_idlest(std::optional(user_with_most()));
}

std::optional<uid_t> Connections::user_with_most() const {
    std::map<std::optional<uid_t>, std::size_t> counts;
    for (const Connection &connection : all_) ++counts[connection.user()];
    return std::ranges::max_element(counts, {}, [](const auto &count) { return count.second; })
        ->first;
}

void Connections::close_idlest(const std::optional<std::optional<uid_t>> &of_user) {
    auto idlest = all_.end();
    for (auto one = all_.begin(); one != all_.end(); ++one) {
        if (of_user && one->user() != *of_user) continue;
        if (idlest == all_.end() || one->served < idlest->served) idlest = one;
    }
    if (idlest == all_.end()) return;
    close(idlest->socket);
    all_.erase(idlest);
}

void Connections::poll_for(std::vector<pollfd> &waits) const {
    for (const Connection &connection : all_) {
        const short events = connection.replying() ? POLLOUT : connection.waits() ? 0 : POLLIN;
        waits.push_back({connection.socket, events, 0});
    }
}

void Connections::handle(const pollfd *ready) {
    for (Connection &connection : all_) {
        const short events = ready++->revents;
        if (events == 0 || connection.waits()) continue;
        if (connection.replying())
            connection.write();
        else
            connection.read();
    }
    close_ended();
}

bool Connections::serve() {
    std::map<std::optional<uid_t>, Connection *> next;
    for (Connection &connection : all_) {
        if (!connection.waits()) continue;
        Connection *&first = next[connection.user()];
        if (!first || connection.served < first->served) first = &connection;
    }
    for (const auto &[user, connection] : next) connection->serve();
    close_ended();
    return std::ranges::any_of(all_, &Connection::waits);
}

void Connections::close_overdue() {
    const auto limit = Clock::now() - patience;
    for (Connection &connection : all_)
        if ((connection.calls.begun() || connection.replying()) && connection.started < limit)
            connection.ended = true;
    close_ended();
}

void Connections::close_ended() {
    all_.remove_if([](const Connection &connection) {
        if (connection.ended) close(connection.socket);
        return connection.ended;
    });
}

}  // namespace ia
