// One pass after another over all that the RPC programs of this process are served on.
#pragma once

#include "rte/BLL/core/connections.h"

#include <vector>

namespace ia {

// On one thread.
class ReceiveLoop {
public:
    // Waits up to a second for something to do, and does it. The errno of a failure for
    // good; 0.
    int pass();

private:
    void gather();
    int serve_ready();
    void serve_datagram(const Endpoint &endpoint);

    std::vector<Endpoint> endpoints_;
    std::vector<pollfd> waits_;  // the wake event, endpoints, the library's own, connections
    std::size_t foreign_ = 0;    // of the library's own
    Connections connections_;
    bool calls_wait_ = false;
    std::vector<char> datagram_;
};

}  // namespace ia
