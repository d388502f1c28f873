// Keeps this node's RPC programs known to the machine's port mapper.
#pragma once

#include "management/event_loop.h"

#include <string>
#include <thread>

namespace ia {

// A port mapper that starts again, or later than this process, knows nobody: it is
// told of the services then. Somebody else who has registered their numbers keeps them,
// unless this process may take them away; it is tried again every half minute. When the
// watch ends, the port mapper is told that the services are gone.
//
// It has a loop and a thread of its own: a port mapper that does not answer delays
// nothing else.
class PortMapperWatch {
public:
    PortMapperWatch();
    ~PortMapperWatch();
    PortMapperWatch(const PortMapperWatch &) = delete;
    PortMapperWatch &operator=(const PortMapperWatch &) = delete;

    // Waits until the port mapper knows the services, which register on threads of
    // their own. When it does not within two seconds, the log says so.
    static void wait_until_known();

    // Who else has registered this node's numbers, "user 1000"; empty: nobody. Any thread.
    static std::string other_owner();

private:
    void keep();

    EventLoop loop_;
    EventLoop::Task stop_{loop_, [this] { loop_.stop(); }};
    std::thread thread_;
};

}  // namespace ia
