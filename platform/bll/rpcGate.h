// Who may call the node's RPC services.
#pragma once

#include <rpc/rpc.h>
#include <string>

#pragma GCC visibility push(default)

// Whether a dispatcher may serve this call. Calls that change anything are for
// root: they must come from a reserved port (below 1024), over a local socket from root
// or the process's own user, unless the node says otherwise. A refused call has been
// answered (svcerr_weakauth) and logged, once a minute with the number of others.
bool rpcCallAllowed(svc_req *request, SVCXPRT *transport, bool changes);

// Writes down that a call has changed something, or was refused by the operation
// itself: what it asked for, in words, and its outcome.
void rpcCallDone(SVCXPRT *transport, const std::string &what, const std::string &outcome);

#pragma GCC visibility pop
