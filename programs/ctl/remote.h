// Calls of the agent's RPC service.
#pragma once

#include "rpc/pppoeia.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace ia::ctl {

// The agent cannot be reached, or did not answer.
struct Unreachable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The agent was reached and said no.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Remote {
public:
    Remote();

    // A call by its generated stub. Its reply lasts until the next call.
    template <class Reply, class... Parameters, class... Arguments>
    const Reply &call(Reply *(*stub)(Parameters...), Arguments... arguments) {
        const Reply *reply = stub(arguments..., client_.get());
        if (!reply) throw_failure();
        return *reply;
    }

    // A call that changes something; `what` is named when the agent refuses.
    template <class... Parameters, class... Arguments>
    void change(const std::string &what, rpcPppoeiaResult *(*stub)(Parameters...),
                Arguments... arguments) {
        expect(call(stub, arguments...), what);
    }

    static void expect(rpcPppoeiaResult result, const std::string &what);

private:
    struct Destroy {
        void operator()(CLIENT *client) const { clnt_destroy(client); }
    };

    [[noreturn]] void throw_failure() const;

    std::unique_ptr<CLIENT, Destroy> client_;
};

}  // namespace ia::ctl
