// Registers a service on its two transports.
#include "rte/BLL/core/registered.h"
#include "rte/BLL/core/rpcProxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <rpc/pmap_clnt.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

SVCXPRT *create_udp(int socket) {
    return svcudp_create(socket);
}
SVCXPRT *create_tcp(int socket) {
    return svctcp_create(socket, 0, 0);
}

// A transport, and the source line named in its failure messages.
struct Transport {
    const char *name;
    int type;
    int protocol;
    SVCXPRT *(*create)(int socket);
    int socket_line, bind_line, listen_line, create_line, register_line;
};
constexpr Transport udp{"UDP", SOCK_DGRAM, IPPROTO_UDP, create_udp, 47, 52, 0, 57, 61};
constexpr Transport tcp{"TCP", SOCK_STREAM, IPPROTO_TCP, create_tcp, 70, 76, 83, 89, 93};

constexpr int listen_backlog = 128;

struct Service {
    unsigned long program;
    unsigned long version;
};

// "rte/BLL/core/rpcProxy:47 Cannot create UDP socket for RPC service ..."; with
// errno and its text when `error` is not 0.
void report(int line, const std::string &what, const Service &service, const char *ending,
            int error) {
    const std::string cause =
        error ? " (" + std::to_string(error) + " - " + std::strerror(error) + ")" : "";
    std::fprintf(stderr,
                 "rte/BLL/core/rpcProxy:%d Cannot %s RPC service 0x%08lx/%lu, version %lu%s%s.\n",
                 line, what.c_str(), service.program, service.program, service.version, ending,
                 cause.c_str());
}

// A socket on a port of 127.0.0.1 chosen by the system; -1 after a reported
// failure.
int open_socket(const Transport &transport, const Service &service) {
    const std::string socket_of = std::string(transport.name) + " socket for";
    const int handle = socket(AF_INET, transport.type | SOCK_CLOEXEC, transport.protocol);
    if (handle < 0) {
        report(transport.socket_line, "create " + socket_of, service, "", errno);
        return -1;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        report(transport.bind_line, "bind " + socket_of, service, "", errno);
    } else if (transport.type == SOCK_STREAM && listen(handle, listen_backlog) != 0) {
        report(transport.listen_line, "set " + socket_of, service, " to listen mode", errno);
    } else {
        return handle;
    }
    close(handle);
    return -1;
}

void serve_over(const Transport &transport, const Service &service,
                void (*dispatch)(svc_req *, SVCXPRT *)) {
    const int handle = open_socket(transport, service);
    if (handle < 0) return;
    SVCXPRT *const endpoint = transport.create(handle);
    const std::string name = transport.name;
    if (!endpoint) {
        report(transport.create_line, "create " + name, service, "", 0);
        close(handle);
        return;
    }
    // A transport that the port mapper refused is served all the same: the port
    // mapper may learn of it later.
    const bool known =
        svc_register(endpoint, service.program, service.version, dispatch, transport.protocol);
    if (!known) report(transport.register_line, "register " + name, service, "", 0);
    ia::registered().add({service.program, service.version, transport.protocol,
                          static_cast<unsigned short>(endpoint->xp_port), known});
    ia::registered().add(ia::Endpoint{endpoint, AF_INET, transport.type == SOCK_STREAM});
}

}  // namespace

void rpcProxyRegisterSvc(unsigned long program, unsigned long version,
                         void (*dispatch)(svc_req *, SVCXPRT *)) {
    pmap_unset(program, version);
    serve_over(udp, {program, version}, dispatch);
    serve_over(tcp, {program, version}, dispatch);
}

std::vector<rpcProxyTransport_t> rpcProxyTransports(std::size_t count,
                                                    std::chrono::milliseconds limit) {
    return ia::registered().transports(count, limit);
}
