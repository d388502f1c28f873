// Keeps this node's RPC programs known to the machine's port mapper.
#pragma once

#include "programs/service_watch.h"

namespace ia {

// A port mapper that starts again, or later than this process, knows nobody: it is
// told of the services then.
class PortMapperWatch {
public:
    PortMapperWatch();

    // Waits until the port mapper knows the services, which register on threads of
    // their own. When it does not within two seconds, the log says so.
    static void wait_until_known();

private:
    ServiceWatch watch_;
};

}  // namespace ia
