// Decides who may call the node's RPC services.
#pragma once

#include <rpc/rpc.h>
#include <string>

#pragma GCC visibility push(default)

// Whether a dispatcher may serve this call. A call that changes something must come
// from a reserved port (below 1024), or over a local socket from root or the
// process's own user, unless the node lifts this. This function answers a refused
// call (svcerr_weakauth) and logs it, once a minute with the number of other
// refusals.
bool rpcCallAllowed(svc_req *request, SVCXPRT *transport, bool changes);

// Logs a change, or its refusal by the operation: the request in words, and the
// outcome.
void rpcCallDone(SVCXPRT *transport, const std::string &what, const std::string &outcome);

#pragma GCC visibility pop
