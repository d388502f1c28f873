#include "platform/bll/rpcGate.h"

#include "node/framework/registry.h"

#include <netinet/in.h>
#include <syslog.h>
#include <algorithm>
#include <cstring>
#include <fstream>

namespace {

// The caller's port, 0 when it did not come over IP.
std::uint16_t caller_port(const SVCXPRT *transport) {
    const netbuf *const caller = svc_getrpccaller(transport);
    sockaddr_storage address{};
    if (!caller->buf || caller->len > sizeof address) return 0;
    std::memcpy(&address, caller->buf, caller->len);
    switch (address.ss_family) {
        case AF_INET: return ntohs(reinterpret_cast<const sockaddr_in &>(address).sin_port);
        case AF_INET6: return ntohs(reinterpret_cast<const sockaddr_in6 &>(address).sin6_port);
        default: return 0;
    }
}

// Ports below this one only root can use on this machine.
int reserved_ports_end() {
    int first_for_all = IPPORT_RESERVED;
    std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> first_for_all;
    return std::min<int>(first_for_all, IPPORT_RESERVED);
}

}  // namespace

bool rpcCallAllowed(svc_req *request, SVCXPRT *transport, bool changes) {
    if (!changes || !ia::node::registry().read([](const ia::node::NodeState &node) {
            return node.facts.rpc_reserved_port;
        }))
        return true;
    const std::uint16_t port = caller_port(transport);
    if (port > 0 && port < reserved_ports_end()) return true;
    syslog(LOG_WARNING,
           "RPC program 0x%08lx procedure %lu refused: caller's port %u is not reserved",
           static_cast<unsigned long>(request->rq_prog),
           static_cast<unsigned long>(request->rq_proc), port);
    svcerr_weakauth(transport);
    return false;
}
