#include "programs/port_mapper_watch.h"

#include "programs/sockets.h"
#include "rte/BLL/core/rpcProxy.h"

#include <rpc/pmap_clnt.h>
#include <sys/socket.h>
#include <syslog.h>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace ia {

namespace {

using Transports = std::vector<rpcProxyTransport_t>;

constexpr std::size_t transports = 4;  // two programs, each over UDP and TCP
constexpr std::chrono::seconds patience{2};

bool all_known(const Transports &services) {
    return services.size() >= transports &&
           std::ranges::all_of(services, &rpcProxyTransport_t::known);
}

// What it may have kept of a process that was killed goes first.
void tell_of(const Transports &services) {
    bool told = true;
    for (const rpcProxyTransport_t &service : services)
        pmap_unset(service.program, service.version);
    for (const rpcProxyTransport_t &service : services)
        if (!pmap_set(service.program, service.version, service.protocol, service.port)) {
            syslog(LOG_ERR, "RPC program 0x%08lx cannot be registered again", service.program);
            told = false;
        }
    if (told) syslog(LOG_NOTICE, "the port mapper knows the RPC programs of this node again");
}

void tell_when_new() {
    const Transports services = rpcProxyTransports(transports, patience);
    if (!all_known(services)) tell_of(services);
}

}  // namespace

PortMapperWatch::PortMapperWatch()
    : watch_(port_mapper_socket, SOCK_STREAM,
             {tell_when_new,
              [] {
                  syslog(LOG_WARNING,
                         "the port mapper is gone: remote calls fail until it is back");
              },
              [] { tell_of(rpcProxyTransports(transports, patience)); }}) {}

void PortMapperWatch::wait_until_known() {
    if (!all_known(rpcProxyTransports(transports, patience)))
        syslog(LOG_WARNING,
               "the port mapper does not know this node's RPC programs: remote calls and "
               "pppoeiactl fail until rpcbind runs");
}

}  // namespace ia
