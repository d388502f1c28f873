#include "node/ippc/connection.h"

#include "node/ippc/socket_address.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <atomic>
#include <cerrno>

namespace ia::node {

namespace {

using std::chrono::milliseconds;

// A forked child must not use its parent's connections.
std::atomic<unsigned> process_generation{0};
[[maybe_unused]] const int fork_handler =
    pthread_atfork(nullptr, nullptr, [] { ++process_generation; });

milliseconds time_until(Deadline deadline) {
    return std::chrono::duration_cast<milliseconds>(deadline - std::chrono::steady_clock::now());
}

bool set_limit(int fd, int option, milliseconds limit) {
    timeval time{};
    time.tv_sec = limit.count() / 1000;
    time.tv_usec = limit.count() % 1000 * 1000;
    return setsockopt(fd, SOL_SOCKET, option, &time, sizeof time) == 0;
}

}  // namespace

Connection::Connection(Fd fd) : fd_(std::move(fd)), process_(process_generation) {}

bool Connection::made_in_this_process() const {
    return process_ == process_generation;
}

std::optional<Connection> Connection::open(const char *path, Deadline deadline) {
    const auto address = socket_address(path);
    Fd fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!address || !fd) return std::nullopt;
    for (;;) {
        // With a full backlog, connect() blocks up to the send time-out.
        const milliseconds remaining = time_until(deadline);
        if (remaining.count() <= 0 || !set_limit(fd.get(), SO_SNDTIMEO, remaining))
            return std::nullopt;
        if (connect(fd.get(), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) == 0)
            return Connection(std::move(fd));
        if (errno != EINTR) return std::nullopt;
    }
}

// Sets the time-out of receiving. If the value of the previous call is close enough
// it stays, which saves a system call.
bool Connection::limit_wait(Deadline deadline) {
    constexpr milliseconds tolerance{50};
    const milliseconds remaining = time_until(deadline);
    if (remaining.count() <= 0) return false;
    if (limit_ >= remaining - tolerance && limit_ <= remaining + tolerance) return true;
    limit_ = remaining;
    return set_limit(fd_.get(), SO_RCVTIMEO, remaining);
}

Exchange Connection::exchange(std::span<const std::uint8_t> request, std::span<std::uint8_t> &reply,
                              Deadline deadline) {
    // One request at a time always fits the socket's buffer.
    if (send(fd_.get(), request.data(), request.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        return errno == EPIPE || errno == ECONNRESET ? Exchange::not_taken : Exchange::failed;
    while (limit_wait(deadline)) {
        const ssize_t length = recv(fd_.get(), reply.data(), reply.size(), 0);
        if (length > 0) {
            reply = reply.first(static_cast<std::size_t>(length));
            return Exchange::answered;
        }
        if (length == 0) break;
        if (errno == EINTR) continue;
        // The server closed its end before it read our request.
        if (errno == ECONNRESET) return Exchange::not_taken;
        break;
    }
    return Exchange::failed;
}

// Never destroyed: other threads may still call while the process exits.
KeptConnections &KeptConnections::of_process() {
    static KeptConnections &kept = *new KeptConnections;
    return kept;
}

std::optional<Connection> KeptConnections::take(const char *path) {
    const std::scoped_lock lock(lock_);
    const auto found = idle_.find(path);
    if (found == idle_.end()) return std::nullopt;
    std::erase_if(found->second, [](const Connection &c) { return !c.made_in_this_process(); });
    if (found->second.empty()) return std::nullopt;
    Connection taken = std::move(found->second.back());
    found->second.pop_back();
    return taken;
}

void KeptConnections::keep(const char *path, Connection connection) {
    const std::scoped_lock lock(lock_);
    auto found = idle_.find(path);
    if (found == idle_.end()) found = idle_.try_emplace(path).first;
    found->second.push_back(std::move(connection));
}

void KeptConnections::forget(const char *path) {
    const std::scoped_lock lock(lock_);
    if (const auto found = idle_.find(path); found != idle_.end()) found->second.clear();
}

}  // namespace ia::node
