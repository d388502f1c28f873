// Reads calls from all sockets of this process's RPC programs and serves them.
#pragma once

#include "rte/BLL/core/connections.h"

#include <vector>

namespace ia {

// Used by one thread.
class ReceiveLoop {
public:
    // Waits up to a second for work and does it. Returns 0, or the errno of a
    // permanent failure.
    int pass();

private:
    void gather();
    int serve_ready();
    void serve_datagram(const Endpoint &endpoint);

    std::vector<Endpoint> endpoints_;
    std::vector<pollfd> waits_;  // wake event, endpoints, the library's own sockets, connections
    std::size_t foreign_ = 0;    // number of the library's own sockets
    Connections connections_;
    bool calls_wait_ = false;
    std::vector<char> datagram_;
};

}  // namespace ia
