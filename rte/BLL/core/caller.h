// Identifies the process at the other end of a socket of this machine.
#pragma once

#include "rte/BLL/core/rpcProxy.h"

#include <netinet/in.h>

namespace ia {

// The caller on a connection to a local socket.
rpcProxyCaller_t local_caller(int connection);

// The caller on a TCP connection over IPv4. The user is known if the caller's
// socket is on this machine and still open: the kernel names it.
rpcProxyCaller_t tcp_caller(int connection, const sockaddr_in &from);

rpcProxyCaller_t udp_caller(const sockaddr_in &from);

}  // namespace ia
