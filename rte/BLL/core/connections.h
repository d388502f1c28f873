// The callers' connections: their limits, turns among users, and partial reads and
// writes.
#pragma once

#include "rte/BLL/core/exchange.h"
#include "rte/BLL/core/record.h"

#include <poll.h>
#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <vector>

namespace ia {

// Runs on the receive loop's thread and never blocks on a caller: one that sends
// half a call, or does not take its reply, is closed after `patience`. Each user
// has at most `most_of_user` connections and one call a turn; all callers without a
// known user count as one user. When a limit is exceeded, the connection idle for
// longest is closed: one of that user, or, for `most`, one of the user with the
// most connections.
class Connections {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t most_of_user = 32;
    static constexpr std::size_t most = 256;
    static constexpr std::chrono::seconds patience{10};

    Connections() = default;
    ~Connections();
    Connections(const Connections &) = delete;
    Connections &operator=(const Connections &) = delete;

    // Accepts waiting connections of a listening endpoint, in a bounded number of
    // steps.
    void accept(const Endpoint &endpoint);

    // Appends the events of each connection; `handle` gets the same entries.
    void poll_for(std::vector<pollfd> &waits) const;
    void handle(const pollfd *ready);

    // Serves the next call of every user. Returns whether a call is still waiting.
    bool serve();

    void close_overdue();

private:
    struct Connection {
        int socket;
        Endpoint endpoint;
        Exchange exchange;
        RecordReader calls{};
        std::size_t sent = 0;         // bytes of the reply
        Clock::time_point served{};   // time of the accept, or of the last reply's end
        Clock::time_point started{};  // time at which a partial call or a reply began
        bool ended = false;

        bool replying() const { return !exchange.reply.empty(); }
        bool waits() const { return !ended && !replying() && calls.state() == RecordReader::whole; }
        std::optional<uid_t> user() const;
        void read();
        void write();
        void serve();
    };

    bool accept_one(const Endpoint &endpoint);
    void make_room(std::optional<uid_t> user);
    void close_idlest(const std::optional<std::optional<uid_t>> &of_user);
    std::optional<uid_t> user_with_most() const;
    void close_ended();

    std::list<Connection> all_;
};

}  // namespace ia
