// Keeps this node's RPC programs known to the machine's port mapper.
#pragma once

#include "programs/service_watch.h"

#include <cstdint>
#include <vector>

namespace ia {

// A port mapper that starts again knows nobody: what was registered before is
// registered again then.
class PortMapperWatch {
public:
    PortMapperWatch();

private:
    struct Service {
        unsigned long program;
        unsigned long version;
        int protocol;
        std::uint16_t port;
    };

    void remember();
    void register_again() const;

    std::vector<Service> services_;  // the watching thread's
    ServiceWatch watch_;             // last: its thread uses the rest
};

}  // namespace ia
