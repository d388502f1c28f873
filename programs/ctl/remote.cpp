#include "programs/ctl/remote.h"

namespace ia::ctl {

Remote::Remote() : client_(clnt_create("127.0.0.1", RPC_PPPOEIA, RPC_PPPOEIA_V1, "tcp")) {
    if (client_) return;
    throw Unreachable(std::string(clnt_spcreateerror("the agent cannot be reached")) +
                      "; are rpcbind and pppoeia-mgmt running?");
}

void Remote::throw_failure() const {
    rpc_err error{};
    clnt_geterr(client_.get(), &error);
    if (error.re_status == RPC_AUTHERROR) throw Refused("changing anything needs root");
    throw Unreachable(clnt_sperror(client_.get(), "the agent did not answer"));
}

void Remote::expect(rpcPppoeiaResult result, const std::string &what) {
    switch (result) {
        case RPC_PPPOEIA_SUCCESS: return;
        case RPC_PPPOEIA_NOT_FOUND: throw Refused(what + ": not found, or not applicable");
        case RPC_PPPOEIA_PROFILE_MODE:
            throw Refused(what + ": service profiles configure this node");
        default: throw Refused(what + ": refused by the agent");
    }
}

}  // namespace ia::ctl
