#include "programs/ctl/remote.h"

namespace ia::ctl {

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
        throw Refused("changing anything needs root: try it with sudo");
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
