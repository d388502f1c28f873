// One whole call, and its reply.
#pragma once

#include "rte/BLL/core/registered.h"
#include "rte/BLL/core/rpcProxy.h"

#include <sys/socket.h>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

namespace ia {

struct Exchange {
    std::span<char> call;  // no byte behind it is read
    rpcProxyCaller_t caller{};
    sockaddr_storage address{};  // the caller's
    socklen_t address_length = 0;
    std::size_t longest_reply = std::numeric_limits<u_int>::max();

    std::vector<char> reply{};  // empty: there is none
    bool understood = false;    // it was a call
};

// Has the RPC library dispatch the call. From then on the endpoint's transport reads
// nothing by itself. On the receive loop's thread.
void dispatch_call(const Endpoint &endpoint, Exchange &exchange);

// The library's own ways of reading and writing, for a transport that is destroyed.
void forget_exchanges(SVCXPRT *transport);

}  // namespace ia
