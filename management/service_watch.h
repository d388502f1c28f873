// Notices that a service of this machine has gone and come back.
#pragma once

#include "management/event_loop.h"
#include "node/descriptor.h"

#include <functional>
#include <optional>
#include <string>

namespace ia {

// Keeps a connection to the service's local socket. When the service ends, however
// it ends, the connection does.
class ServiceWatch {
public:
    // Given by the loop: each connection but one that the constructor made, and
    // the end of each.
    struct Notices {
        std::function<void()> came;
        std::function<void()> went;
    };

    // Connects if it can. `type`: SOCK_SEQPACKET or SOCK_STREAM.
    ServiceWatch(EventLoop &loop, std::string socket_path, int type, Notices notices);
    ServiceWatch(const ServiceWatch &) = delete;
    ServiceWatch &operator=(const ServiceWatch &) = delete;

    // Whether the service that was connected last is there still, also if its end
    // is yet to be noticed.
    bool connected() const;

private:
    bool connect();
    void try_again();
    void lose();

    EventLoop &loop_;
    const std::string path_;
    const int type_;
    const Notices notices_;
    node::Descriptor connection_;
    std::optional<EventLoop::Source> end_;  // of the connection
    EventLoop::Task again_;
};

}  // namespace ia
