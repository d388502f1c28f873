// Keeps this node's RPC programs known to the machine's port mapper.
#pragma once

#include "management/service_watch.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace ia {

// A port mapper that starts again, or later than this process, knows nobody: it is
// told of the services then. Somebody else who has registered their numbers keeps them,
// unless this process may take them away; it is tried again every half minute. When the
// watch ends, the port mapper is told that the services are gone.
class PortMapperWatch {
public:
    PortMapperWatch();
    ~PortMapperWatch();

    // Waits until the port mapper knows the services, which register on threads of
    // their own. When it does not within two seconds, the log says so.
    static void wait_until_known();

    // Who else has registered this node's numbers, "user 1000"; empty: nobody. Any thread.
    static std::string other_owner();

private:
    void keep();

    std::mutex lock_;
    std::condition_variable ends_;
    bool ending_ = false;
    std::optional<ServiceWatch> watch_;
    std::thread keeper_;
};

}  // namespace ia
