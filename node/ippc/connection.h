// A caller's connection to a server, and the process's idle connections.
#pragma once

#include "node/ippc/fd.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ia::node {

using Deadline = std::chrono::steady_clock::time_point;

enum class Exchange {
    answered,
    not_taken,  // the server has ended and never read the request
    failed,     // timed out, or the server ended during the request
};

// One connection. After any outcome but an answer it is closed.
class Connection {
public:
    // None when nobody serves the path, or not within the time limit.
    static std::optional<Connection> open(const char *path, Deadline deadline);

    // Sends a request and receives the reply. `reply` is cut to the bytes received.
    Exchange exchange(std::span<const std::uint8_t> request, std::span<std::uint8_t> &reply,
                      Deadline deadline);

    bool made_in_this_process() const;

private:
    explicit Connection(Fd fd);
    bool limit_wait(Deadline deadline);

    Fd fd_;
    std::chrono::milliseconds limit_{0};  // the socket's current time-out, 0: none
    unsigned process_;
};

// The idle connections, by path: as many of a path as calls have run at once. Any
// thread.
class KeptConnections {
public:
    static KeptConnections &of_process();

    std::optional<Connection> take(const char *path);
    void keep(const char *path, Connection connection);
    void forget(const char *path);

private:
    std::mutex lock_;
    std::map<std::string, std::vector<Connection>, std::less<>> idle_;
};

}  // namespace ia::node
