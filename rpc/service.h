// The ONC RPC services (RFC 5531) of the management process: the agent's program
// 0x20000011, version 1, and the node's own beside it, 0x20000012, version 1.
//
// Requests are served one at a time on the process's RPC loop. Every server
// function returns its own reply object, valid until its next call.
#pragma once

#include <rpc/rpc.h>

namespace ia {

inline constexpr unsigned long rpc_program = 0x20000011;
inline constexpr unsigned long rpc_version = 1;
inline constexpr unsigned long node_rpc_program = 0x20000012;
inline constexpr unsigned long node_rpc_version = 1;

// Decodes a request, calls its server function and sends the reply. A changing call
// passes the node's gate first.
void dispatch(svc_req *request, SVCXPRT *transport);
void dispatch_node(svc_req *request, SVCXPRT *transport);

}  // namespace ia

// Registers both services, on the thread of the entity's host.
void *rpcPppoeiaStart(void *interrupt_check);
