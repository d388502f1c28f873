// Calls of the node's RPC services.
#pragma once

#include "rpc/pppoeia.h"
#include "rpc/pppoeia_node.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
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

    // A call by its generated stub, of the agent's program or of the node's own.
    // Its reply lasts until the next call of the same stub.
    template <class Reply, class... Parameters, class... Arguments>
    const Reply &call(Reply *(*stub)(Parameters...), Arguments... arguments) {
        return answer(agent_, stub, arguments...);
    }
    template <class Reply, class... Parameters, class... Arguments>
    const Reply &node(Reply *(*stub)(Parameters...), Arguments... arguments) {
        return answer(node_, stub, arguments...);
    }

    // A call that changes something, of either program; `what` is named when it
    // is refused.
    template <class Reply, class... Parameters, class... Arguments>
    void change(const std::string &what, Reply *(*stub)(Parameters...), Arguments... arguments) {
        if constexpr (std::is_same_v<Reply, rpcPppoeiaResult>)
            expect(call(stub, arguments...), what);
        else
            expect(rpcPppoeiaResult(node(stub, arguments...)), what);
    }

    static void expect(rpcPppoeiaResult result, const std::string &what);
    static void expect(int result, const std::string &what) {
        expect(rpcPppoeiaResult(result), what);
    }

private:
    struct Destroy {
        void operator()(CLIENT *client) const { clnt_destroy(client); }
    };
    using Client = std::unique_ptr<CLIENT, Destroy>;

    static Client connect(rpcprog_t program, rpcvers_t version);
    [[noreturn]] static void throw_failure(CLIENT *client);

    template <class Reply, class... Parameters, class... Arguments>
    const Reply &answer(const Client &client, Reply *(*stub)(Parameters...),
                        Arguments... arguments) {
        const Reply *reply = stub(arguments..., client.get());
        if (!reply) throw_failure(client.get());
        return *reply;
    }

    Client agent_;
    Client node_;
};

}  // namespace ia::ctl
