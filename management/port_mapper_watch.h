// Keeps this node's RPC programs registered with the machine's port mapper.
#pragma once

#include "management/event_loop.h"

#include <string>
#include <thread>

namespace ia {

// A port mapper that starts again, or after this process, knows no services: they
// are then registered with it. If another user has registered their numbers, that
// registration stays unless this process may remove it; the watch tries again every
// half minute. At its end it unregisters the services.
//
// It has its own loop and thread: a port mapper that does not answer delays nothing
// else.
class PortMapperWatch {
public:
    PortMapperWatch();
    ~PortMapperWatch();
    PortMapperWatch(const PortMapperWatch &) = delete;
    PortMapperWatch &operator=(const PortMapperWatch &) = delete;

    // Waits until the port mapper knows the services, which register on their own
    // threads. After two seconds the log says so.
    static void wait_until_known();

    // The other user that has registered this node's numbers, as "user 1000";
    // empty: none. Any thread.
    static std::string other_owner();

private:
    void keep();

    EventLoop loop_;
    EventLoop::Task stop_{loop_, [this] { loop_.stop(); }};
    std::thread thread_;
};

}  // namespace ia
