#include "management/port_mapper_watch.h"

#include "management/service_watch.h"
#include "node/linux/sockets.h"
#include "rte/BLL/core/rpcProxy.h"

#include <netconfig.h>
#include <rpc/pmap_clnt.h>
#include <rpc/rpcb_clnt.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <vector>

namespace ia {

namespace {

using Transports = std::vector<rpcProxyTransport_t>;

constexpr std::size_t transports = 4;  // two programs, each over UDP and TCP
constexpr std::chrono::seconds patience{2};
constexpr std::chrono::seconds retry{30};

// Who has registered a number of the services, for any thread.
struct Other {
    std::mutex lock;
    std::string owner;
};

Other &other() {
    static Other state;
    return state;
}

bool all_known(const Transports &services) {
    return services.size() >= transports &&
           std::ranges::all_of(services, &rpcProxyTransport_t::known);
}

// The user that has registered the program, in words; empty when nobody has, or
// this process's user.
std::string owner_of(unsigned long program) {
    netconfig *const local = getnetconfigent("local");
    if (!local) return {};
    rpcblist *const all = rpcb_getmaps(local, "localhost");
    freenetconfigent(local);
    std::string owner;
    for (const rpcblist *entry = all; entry; entry = entry->rpcb_next)
        if (entry->rpcb_map.r_prog == program && entry->rpcb_map.r_owner)
            owner = entry->rpcb_map.r_owner;
    xdr_free(reinterpret_cast<xdrproc_t>(xdr_rpcblist), const_cast<rpcblist **>(&all));
    if (owner.empty() || owner == (geteuid() == 0 ? "superuser" : std::to_string(geteuid())))
        return {};
    return owner == "superuser" ? "root" : "user " + owner;
}

void say(const std::string &other, unsigned long program) {
    if (other.empty())
        syslog(LOG_ERR, "RPC program 0x%08lx cannot be registered again", program);
    else
        syslog(LOG_ERR,
               "the port mapper gives callers of RPC program 0x%08lx to %s, not to this node: "
               "'rpcinfo -d %lu 1' as root takes that away (pppoeiactl is not affected)",
               program, other.c_str(), program);
}

// Removes registrations of a killed process first. Returns whether the port mapper
// took all services. `again`: the log already names the other user.
bool tell_of(const Transports &services, bool again) {
    const std::string before = PortMapperWatch::other_owner();
    std::string owner;
    bool told = true;
    for (const rpcProxyTransport_t &service : services)
        pmap_unset(service.program, service.version);
    for (const rpcProxyTransport_t &service : services) {
        if (pmap_set(service.program, service.version, service.protocol, service.port)) continue;
        if (told) {
            owner = owner_of(service.program);
            if (!again || owner != before) say(owner, service.program);
        }
        told = false;
    }
    {
        const std::lock_guard guard(other().lock);
        other().owner = owner;
    }
    if (told) syslog(LOG_NOTICE, "the port mapper knows the RPC programs of this node again");
    return told;
}

}  // namespace

PortMapperWatch::PortMapperWatch() : thread_([this] { keep(); }) {}

PortMapperWatch::~PortMapperWatch() {
    stop_.ask();
    thread_.join();
    if (access(port_mapper_socket, F_OK) != 0 || !other_owner().empty()) return;
    for (const rpcProxyTransport_t &service : rpcProxyTransports(0, {}))
        if (service.protocol == IPPROTO_TCP) pmap_unset(service.program, service.version);
}

// Services register themselves at their start, once an engine is there. This
// registers again those that the port mapper has forgotten or not taken.
void PortMapperWatch::keep() {
    bool forgot = false;
    const auto tell = [&](EventLoop::Task &again, std::chrono::seconds limit, bool said) {
        const Transports services = rpcProxyTransports(transports, limit);
        if (!forgot && all_known(services)) return;
        if (services.empty() || !tell_of(services, said)) again.at(loop_.now() + retry);
    };
    EventLoop::Task again(loop_, [&] { tell(again, {}, true); });
    const auto went = [&] {
        forgot = true;
        again.cancel();
        syslog(LOG_WARNING,
               "the port mapper is gone: remote calls of other programs fail until it is back");
    };
    const ServiceWatch watch(loop_, port_mapper_socket, SOCK_STREAM,
                             {[&] { tell(again, patience, false); }, went});
    if (watch.connected()) tell(again, patience, false);
    loop_.run();
}

std::string PortMapperWatch::other_owner() {
    const std::lock_guard guard(other().lock);
    return other().owner;
}

void PortMapperWatch::wait_until_known() {
    if (all_known(rpcProxyTransports(transports, patience)) || !other_owner().empty()) return;
    syslog(LOG_WARNING,
           "the port mapper does not know this node's RPC programs: remote calls of other "
           "programs fail until rpcbind runs (pppoeiactl does not need it)");
}

}  // namespace ia
