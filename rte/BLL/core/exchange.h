// One complete call and its reply.
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
    std::span<char> call;  // nothing past its end is read
    rpcProxyCaller_t caller{};
    sockaddr_storage address{};  // the caller's
    socklen_t address_length = 0;
    std::size_t longest_reply = std::numeric_limits<u_int>::max();

    std::vector<char> reply{};  // empty: no reply
    bool understood = false;    // it was a call
};

// Lets the RPC library dispatch the call. The endpoint's transport no longer reads
// its socket itself. On the receive loop's thread.
void dispatch_call(const Endpoint &endpoint, Exchange &exchange);

// Gives a transport its original operations back, before it is destroyed.
void forget_exchanges(SVCXPRT *transport);

}  // namespace ia
