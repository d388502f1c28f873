// Reports that a service of this machine has ended or come back.
#pragma once

#include "management/event_loop.h"
#include "node/descriptor.h"

#include <functional>
#include <optional>
#include <string>

namespace ia {

// Keeps a connection to the service's local socket. The connection ends with the
// service, however that ends.
class ServiceWatch {
public:
    // Called by the loop for each connection, except one made by the constructor,
    // and for the end of each.
    struct Notices {
        std::function<void()> came;
        std::function<void()> went;
    };

    // Connects if it can. `type`: SOCK_SEQPACKET or SOCK_STREAM.
    ServiceWatch(EventLoop &loop, std::string socket_path, int type, Notices notices);
    ServiceWatch(const ServiceWatch &) = delete;
    ServiceWatch &operator=(const ServiceWatch &) = delete;

    // Whether the last connected service is still there; true also if its end has
    // happened but was not reported yet.
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
