// The callers' connections: bounds on them, turns among them, and what is half read
// or half written.
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

// On the receive loop's thread. Nothing here waits for a caller: who sends half a call
// or does not take a reply has `patience`, and keeps nobody else waiting meanwhile. A
// user, whoever cannot be told apart being one, has at most `most_of_user` connections
// and is served one call a turn; when there are too many, the one that has been idle
// for longest is closed, of all connections one of the user who has most.
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

    // Accepts what waits at a listening endpoint, in a bounded number of steps.
    void accept(const Endpoint &endpoint);

    // Appends what each connection waits for; `handle` is given the same entries.
    void poll_for(std::vector<pollfd> &waits) const;
    void handle(const pollfd *ready);

    // Serves the next call of every user. Afterwards, whether one waits still.
    bool serve();

    void close_overdue();

private:
    struct Connection {
        int socket;
        Endpoint endpoint;
        Exchange exchange;
        RecordReader calls{};
        std::size_t sent = 0;         // of the reply
        Clock::time_point served{};   // when it came, or its last reply was taken
        Clock::time_point started{};  // the call that is half here, or the reply
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
