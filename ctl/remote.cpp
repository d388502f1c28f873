#include "ctl/remote.h"

#include "node/linux/sockets.h"

#include <grp.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

namespace ia::ctl {

namespace {

// The group that has access to a socket's folder.
std::string group_of(const std::filesystem::path &path) {
    struct stat folder {};
    const bool known = stat(path.parent_path().c_str(), &folder) == 0;
    const group *const named = known ? getgrgid(folder.st_gid) : nullptr;
    return named ? std::string("'") + named->gr_name + '\'' : "of " + path.string();
}

[[noreturn]] void throw_unreachable(int error) {
    const std::string path = rpc_socket;
    if (error == EACCES)
        throw Unreachable("this user may not call the agent: it takes root, or a member of group " +
                          group_of(path));
    if (error == ENOENT || error == ECONNREFUSED)
        throw Unreachable("pppoeia-mgmt is not running (" + path + ": " + std::strerror(error) +
                          ')');
    throw Unreachable("the agent cannot be reached at " + path + ": " + std::strerror(error));
}

// Only root or the owner of the socket's folder may be the agent.
bool is_served_by_agent(int socket) {
    ucred server{};
    socklen_t size = sizeof server;
    struct stat folder {};
    const std::filesystem::path path = rpc_socket;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &server, &size) == 0 &&
           stat(path.parent_path().c_str(), &folder) == 0 &&
           (server.uid == 0 || server.uid == folder.st_uid);
}

sockaddr_un address() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static_assert(sizeof rpc_socket <= sizeof address.sun_path);
    std::memcpy(address.sun_path, rpc_socket, sizeof rpc_socket);
    return address;
}

int connect_to_agent() {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) throw_unreachable(errno);
    const sockaddr_un agent = address();
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&agent), sizeof agent) != 0) {
        const int error = errno;
        close(socket);
        throw_unreachable(error);
    }
    if (is_served_by_agent(socket)) return socket;
    close(socket);
    throw Unreachable(std::string(rpc_socket) +
                      " is served by a user who is not the agent's: nothing was sent to it");
}

}  // namespace

// The RPC library writes without MSG_NOSIGNAL: SIGPIPE is blocked there, so that a
// closed connection is an error. A closed standard output still ends the program.
Remote::NoPipeSignal::NoPipeSignal() {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, &before_);
}

Remote::NoPipeSignal::~NoPipeSignal() {
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    const timespec now{};
    while (sigtimedwait(&pipe, nullptr, &now) < 0 && errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void Remote::Destroy::operator()(CLIENT *client) const {
    clnt_destroy(client);
}

Remote::Remote()
    : agent_(connect(RPC_PPPOEIA, RPC_PPPOEIA_V1)),
      node_(connect(RPC_PPPOEIA_NODE, RPC_PPPOEIA_NODE_V1)) {}

Remote::Client Remote::connect(rpcprog_t program, rpcvers_t version) {
    const int socket = connect_to_agent();
    sockaddr_un agent = address();
    const netbuf server{sizeof agent, sizeof agent, &agent};
    Client client{clnt_vc_create(socket, &server, program, version, 0, 0)};
    if (!client) {
        close(socket);
        throw Unreachable(clnt_spcreateerror("the agent cannot be reached"));
    }
    clnt_control(client.get(), CLSET_FD_CLOSE, nullptr);
    return client;
}

void Remote::throw_failure(CLIENT *client) {
    rpc_err error{};
    clnt_geterr(client, &error);
    if (error.re_status == RPC_AUTHERROR)
        throw Refused("changing anything needs root: try it with sudo");
    throw Unreachable(std::string(clnt_sperror(client, "the agent did not answer")) +
                      "; see the log of pppoeia-mgmt");
}

void Remote::accept(rpcPppoeiaResult result, const std::string &what) {
    if (result == RPC_PPPOEIA_SUCCESS) return;
    const rpcNodeText &why = node(rpc_node_why_1);
    if (why.result != 0) return expect(result, what);
    // Any other result may mean that the engine is missing, which has its own
    // status.
    if (result != RPC_PPPOEIA_NOT_FOUND && result != RPC_PPPOEIA_PROFILE_MODE)
        throw Failed(why.text);
    throw Refused(why.text);
}

void Remote::expect(rpcPppoeiaResult result, const std::string &what) {
    switch (result) {
        case RPC_PPPOEIA_SUCCESS: return;
        case RPC_PPPOEIA_NOT_FOUND:
            throw Refused(what +
                          ": not found, or not applicable; 'pppoeiactl show' lists what "
                          "there is");
        case RPC_PPPOEIA_PROFILE_MODE:
            throw Refused(what + ": service profiles configure this node (profile_mode)");
        default: throw Failed(what + ": refused by the agent; the log of pppoeia-fe says why");
    }
}

}  // namespace ia::ctl
