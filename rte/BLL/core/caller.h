// Who is at the other end of a socket of this machine.
#pragma once

#include "rte/BLL/core/rpcProxy.h"

#include <netinet/in.h>

namespace ia {

// Of a connection to a local socket.
rpcProxyCaller_t local_caller(int connection);

// Of a TCP connection over IPv4: its user is the one whom the kernel names for the
// caller's socket, when that is on this machine and still open.
rpcProxyCaller_t tcp_caller(int connection, const sockaddr_in &from);

rpcProxyCaller_t udp_caller(const sockaddr_in &from);

}  // namespace ia
