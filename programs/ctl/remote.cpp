#include "programs/ctl/remote.h"

#include <sys/socket.h>
#include <unistd.h>

namespace ia::ctl {

// The connection is reset rather than closed: a closed one keeps its port for a
// minute, and root's calls come from the few ports below 1024.
void Remote::Destroy::operator()(CLIENT *client) const {
    int socket = -1;
    const linger none{1, 0};
    if (clnt_control(client, CLGET_FD, reinterpret_cast<char *>(&socket)))
        setsockopt(socket, SOL_SOCKET, SO_LINGER, &none, sizeof none);
    clnt_destroy(client);
}

Remote::Remote()
    : agent_(connect(RPC_PPPOEIA, RPC_PPPOEIA_V1)),
      node_(connect(RPC_PPPOEIA_NODE, RPC_PPPOEIA_NODE_V1)) {}

Remote::Client Remote::connect(rpcprog_t program, rpcvers_t version) {
    if (Client client{clnt_create("127.0.0.1", program, version, "tcp")}) return client;
    throw Unreachable(std::string(clnt_spcreateerror("the agent cannot be reached")) +
                      "; are rpcbind and pppoeia-mgmt running?");
}

void Remote::throw_failure(CLIENT *client) {
    rpc_err error{};
    clnt_geterr(client, &error);
    if (error.re_status == RPC_AUTHERROR)
        throw Refused(geteuid() == 0 ? "no port below 1024 was free to call from: wait a minute"
                                     : "changing anything needs root: try it with sudo");
    throw Unreachable(std::string(clnt_sperror(client, "the agent did not answer")) +
                      "; see the log of pppoeia-mgmt");
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
        default:
            throw Refused(what +
                          ": refused by the agent; 'pppoeiactl status' says whether the "
                          "engine runs, the log of pppoeia-fe why it refused");
    }
}

}  // namespace ia::ctl
