#include "management/port_mapper_watch.h"

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
#include <vector>

namespace ia {

namespace {

using Transports = std::vector<rpcProxyTransport_t>;

constexpr std::size_t transports = 4;  // two programs, each over UDP and TCP
constexpr std::chrono::seconds patience{2};
constexpr std::chrono::seconds retry{30};

// Of all that is told and asked: the port mapper is told by several threads.
struct Known {
    std::mutex lock;
    bool told = false;  // it took all of the services
    std::string other;  // who has registered a number of theirs
};

Known &known() {
    static Known state;
    return state;
}

bool all_known(const Transports &services) {
    return services.size() >= transports &&
           std::ranges::all_of(services, &rpcProxyTransport_t::known);
}

// Who has registered the program, in words; empty when nobody, or this process's user.
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

// What it may have kept of a process that was killed goes first. `again`: it was said
// before who else is there.
void tell_of(const Transports &services, bool again) {
    const std::lock_guard guard(known().lock);
    const std::string before = known().other;
    known().told = true;
    known().other.clear();
    for (const rpcProxyTransport_t &service : services)
        pmap_unset(service.program, service.version);
    for (const rpcProxyTransport_t &service : services) {
        if (pmap_set(service.program, service.version, service.protocol, service.port)) continue;
        if (known().told) {
            known().other = owner_of(service.program);
            if (!again || known().other != before) say(known().other, service.program);
        }
        known().told = false;
    }
    if (known().told)
        syslog(LOG_NOTICE, "the port mapper knows the RPC programs of this node again");
}

void tell_when_new() {
    const Transports services = rpcProxyTransports(transports, patience);
    if (!all_known(services)) return tell_of(services, false);
    const std::lock_guard guard(known().lock);
    known().told = true;
}

void lost() {
    {
        const std::lock_guard guard(known().lock);
        known().told = true;  // there is nobody to be told
    }
    syslog(LOG_WARNING,
           "the port mapper is gone: remote calls of other programs fail until it is "
           "back");
}

}  // namespace

PortMapperWatch::PortMapperWatch() {
    known().told = true;
    watch_.emplace(
        port_mapper_socket, SOCK_STREAM,
        ServiceWatch::Notices{tell_when_new, lost,
                              [] { tell_of(rpcProxyTransports(transports, patience), false); }});
    keeper_ = std::thread([this] { keep(); });
}

PortMapperWatch::~PortMapperWatch() {
    {
        const std::lock_guard guard(lock_);
        ending_ = true;
    }
    ends_.notify_all();
    keeper_.join();
    watch_.reset();
    if (access(port_mapper_socket, F_OK) != 0 || !other_owner().empty()) return;
    for (const rpcProxyTransport_t &service : rpcProxyTransports(0, {}))
        if (service.protocol == IPPROTO_TCP) pmap_unset(service.program, service.version);
}

void PortMapperWatch::keep() {
    std::unique_lock guard(lock_);
    while (!ends_.wait_for(guard, retry, [this] { return ending_; })) {
        bool told = false;
        {
            const std::lock_guard known_guard(known().lock);
            told = known().told;
        }
        if (!told) tell_of(rpcProxyTransports(transports, patience), true);
    }
}

std::string PortMapperWatch::other_owner() {
    const std::lock_guard guard(known().lock);
    return known().other;
}

void PortMapperWatch::wait_until_known() {
    if (all_known(rpcProxyTransports(transports, patience)) || !other_owner().empty()) return;
    syslog(LOG_WARNING,
           "the port mapper does not know this node's RPC programs: remote calls of other "
           "programs fail until rpcbind runs (pppoeiactl does not need it)");
}

}  // namespace ia
