#include "programs/port_mapper_watch.h"

#include "programs/sockets.h"
#include "rpc/pppoeia.h"
#include "rpc/pppoeia_node.h"

#include <netinet/in.h>
#include <rpc/pmap_clnt.h>
#include <rpc/pmap_prot.h>
#include <rpc/rpc.h>
#include <sys/socket.h>
#include <syslog.h>
#include <chrono>
#include <thread>

namespace ia {

namespace {

constexpr int looks = 20;
constexpr std::chrono::milliseconds between_looks{100};

bool is_ours(unsigned long program) {
    return program == RPC_PPPOEIA || program == RPC_PPPOEIA_NODE;
}

}  // namespace

PortMapperWatch::PortMapperWatch()
    : watch_(port_mapper_socket, SOCK_STREAM,
             {[this] { remember(); },
              [] {
                  syslog(LOG_WARNING,
                         "the port mapper is gone: remote calls fail until it is back");
              },
              [this] { register_again(); }}) {}

// The services register from threads of their own, a moment after they started:
// each of ours is there over both protocols.
void PortMapperWatch::remember() {
    for (int look = 0; look < looks && services_.size() < 4; ++look) {
        if (look > 0) std::this_thread::sleep_for(between_looks);
        sockaddr_in here{};
        here.sin_family = AF_INET;
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        services_.clear();
        pmaplist *known = pmap_getmaps(&here);
        for (const pmaplist *at = known; at; at = at->pml_next)
            if (is_ours(at->pml_map.pm_prog))
                services_.push_back({at->pml_map.pm_prog, at->pml_map.pm_vers,
                                     static_cast<int>(at->pml_map.pm_prot),
                                     static_cast<std::uint16_t>(at->pml_map.pm_port)});
        // Any function pointer may go through this one.
        xdr_free(reinterpret_cast<xdrproc_t>(reinterpret_cast<void (*)()>(xdr_pmaplist)), &known);
    }
}

void PortMapperWatch::register_again() const {
    for (const Service &service : services_)
        if (!pmap_set(service.program, service.version, service.protocol, service.port))
            syslog(LOG_ERR, "RPC program 0x%08lx cannot be registered again", service.program);
}

}  // namespace ia
