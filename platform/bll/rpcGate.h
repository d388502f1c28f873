// Who may call the node's RPC services.
#pragma once

#include <rpc/rpc.h>

#pragma GCC visibility push(default)

// Whether a dispatcher may serve this call. Calls that change anything are for
// root: they must come from a reserved port (below 1024), unless the node says
// otherwise. A refused call has been answered (svcerr_weakauth) and logged.
bool rpcCallAllowed(svc_req *request, SVCXPRT *transport, bool changes);

#pragma GCC visibility pop
