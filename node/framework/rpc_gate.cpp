#include "platform/bll/rpcGate.h"

#include "node/framework/log_text.h"
#include "node/framework/registry.h"
#include "rte/BLL/core/rpcProxy.h"

#include <netinet/in.h>
#include <syslog.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <mutex>

namespace {

using Transport = rpcProxyCaller_t::transport_t;

// The caller's port; 0 for a caller not over IP.
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

// On this machine only root can use ports below this one.
int reserved_ports_end() {
    int first_for_all = IPPORT_RESERVED;
    std::ifstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") >> first_for_all;
    return std::min<int>(first_for_all, IPPORT_RESERVED);
}

bool may_change(const SVCXPRT *transport) {
    const rpcProxyCaller_t *const caller = rpcProxyCaller(transport);
    if (caller && caller->transport == Transport::local)
        return caller->user_known && (caller->user == 0 || caller->user == geteuid());
    const std::uint16_t port = caller_port(transport);
    return port > 0 && port < reserved_ports_end();
}

// "uid 1000 from port 40000 (TCP)", with the parts that are known.
std::string name_of_caller(const SVCXPRT *transport) {
    const rpcProxyCaller_t *const caller = rpcProxyCaller(transport);
    if (!caller) return "port " + std::to_string(caller_port(transport));
    std::string name = caller->user_known ? "uid " + std::to_string(caller->user) + ' ' : "";
    if (caller->transport == Transport::local)
        return name + "(process " + std::to_string(caller->process) + ')';
    return name + "from port " + std::to_string(caller->port) +
           (caller->transport == Transport::tcp ? " (TCP)" : " (UDP)");
}

// Anybody can cause refusals, so the log gets one line a minute.
class Refusals {
public:
    void log(const svc_req &request, const SVCXPRT *transport) {
        using namespace std::chrono;
        const std::lock_guard guard(lock_);
        const auto now = steady_clock::now();
        if (now < next_) {
            ++unlogged_;
            return;
        }
        next_ = now + minutes(1);
        const std::string others =
            unlogged_ ? "; " + std::to_string(unlogged_) + " others since the last such line" : "";
        unlogged_ = 0;
        syslog(LOG_WARNING,
               "RPC program 0x%08lx procedure %lu refused: %s may not change anything%s",
               static_cast<unsigned long>(request.rq_prog),
               static_cast<unsigned long>(request.rq_proc), name_of_caller(transport).c_str(),
               others.c_str());
    }

private:
    std::mutex lock_;
    std::chrono::steady_clock::time_point next_;
    unsigned long unlogged_ = 0;
};

}  // namespace

bool rpcCallAllowed(svc_req *request, SVCXPRT *transport, bool changes) {
    if (!changes || !ia::node::registry().read([](const ia::node::NodeState &node) {
            return node.facts.rpc_reserved_port;
        }))
        return true;
    if (may_change(transport)) return true;
    static Refusals refusals;
    refusals.log(*request, transport);
    svcerr_weakauth(transport);
    return false;
}

void rpcCallDone(SVCXPRT *transport, const std::string &what, const std::string &outcome) {
    syslog(LOG_NOTICE, "%s",
           ia::node::log_text(name_of_caller(transport) + ": " + what + ": " + outcome).c_str());
}
