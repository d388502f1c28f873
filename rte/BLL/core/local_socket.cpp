#include "rte/BLL/core/exchange.h"
#include "rte/BLL/core/rpcProxy.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

namespace {

constexpr int listen_backlog = 128;

[[noreturn]] void fail(int error, const std::string &path) {
    throw std::system_error(error, std::generic_category(), path);
}

struct Socket {
    int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    ~Socket() {
        if (descriptor >= 0) close(descriptor);
    }
};

sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) fail(ENAMETOOLONG, path);
    path.copy(address.sun_path, path.size());
    return address;
}

// True also if its process is too busy to accept.
bool is_served(const sockaddr_un &address) {
    const Socket probe;
    return connect(probe.descriptor, reinterpret_cast<const sockaddr *>(&address),
                   sizeof address) == 0 ||
           errno == EAGAIN;
}

void listen_at(int socket, const std::string &path) {
    const sockaddr_un address = address_of(path);
    mkdir(std::filesystem::path(path).parent_path().c_str(), 0755);
    if (is_served(address)) fail(EADDRINUSE, path);
    unlink(path.c_str());
    if (bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        chmod(path.c_str(), 0660) != 0 || listen(socket, listen_backlog) != 0)
        fail(errno, path);
}

struct LocalProgram {
    unsigned long program;
    unsigned long version;
    void (*dispatch)(svc_req *request, SVCXPRT *transport);
};

std::vector<LocalProgram> &local_programs() {
    static std::vector<LocalProgram> programs;
    return programs;
}

}  // namespace

void rpcProxyServeLocally(unsigned long program, unsigned long version,
                          void (*dispatch)(svc_req *request, SVCXPRT *transport)) {
    local_programs().push_back({program, version, dispatch});
}

RPCLocalSocket::RPCLocalSocket(std::string socket_path) : path_(std::move(socket_path)) {
    Socket made;
    if (made.descriptor < 0) fail(errno, path_);
    listen_at(made.descriptor, path_);
    transport_ = svc_vc_create(made.descriptor, 0, 0);
    if (!transport_) {
        unlink(path_.c_str());
        fail(ENOMEM, path_);
    }
    made.descriptor = -1;  // the transport owns it now
    constexpr int no_port_mapper = 0;
    for (const LocalProgram &local : local_programs())
        svc_register(transport_, local.program, local.version, local.dispatch, no_port_mapper);
    ia::registered().add(ia::Endpoint{transport_, AF_UNIX, true});
}

RPCLocalSocket::~RPCLocalSocket() {
    unlink(path_.c_str());
    ia::registered().remove(transport_);
    ia::forget_exchanges(transport_);
    svc_destroy(transport_);
}
