// Calls of the node's RPC services over the management process's local socket:
// without the port mapper, and no other user's process can answer.
#pragma once

#include "rpc/pppoeia.h"
#include "rpc/pppoeia_node.h"

#include <csignal>
#include <map>
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

// The agent refused the request.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The same, perhaps because the engine does not answer.
struct Failed : Refused {
    using Refused::Refused;
};

// The XDR routine of a reply that holds memory; null for one that does not.
template <class Reply>
inline constexpr bool_t (*xdr_of)(XDR *, Reply *) = nullptr;
template <>
inline constexpr auto xdr_of<rpcNodeStatus> = xdr_rpcNodeStatus;
template <>
inline constexpr auto xdr_of<rpcNodePortList> = xdr_rpcNodePortList;
template <>
inline constexpr auto xdr_of<rpcNodeCountersReply> = xdr_rpcNodeCountersReply;
template <>
inline constexpr auto xdr_of<rpcNodeLine> = xdr_rpcNodeLine;
template <>
inline constexpr auto xdr_of<rpcNodeText> = xdr_rpcNodeText;
template <>
inline constexpr auto xdr_of<rpcNodeConfigStatus> = xdr_rpcNodeConfigStatus;
template <>
inline constexpr auto xdr_of<rpcNodeLineIds> = xdr_rpcNodeLineIds;
template <>
inline constexpr auto xdr_of<rpcNodeLines> = xdr_rpcNodeLines;
template <>
inline constexpr auto xdr_of<rpcNodeLineStory> = xdr_rpcNodeLineStory;
template <>
inline constexpr auto xdr_of<rpcNodeServers> = xdr_rpcNodeServers;
template <>
inline constexpr auto xdr_of<rpcNodeHealth> = xdr_rpcNodeHealth;
template <>
inline constexpr auto xdr_of<rpcNodeDeviceList> = xdr_rpcNodeDeviceList;
template <>
inline constexpr auto xdr_of<rpcResultPppoeiaInfo> = xdr_rpcResultPppoeiaInfo;
template <>
inline constexpr auto xdr_of<rpcResultPppoeiaIntfInfo> = xdr_rpcResultPppoeiaIntfInfo;
template <>
inline constexpr auto xdr_of<rpcResultPppoeiaIntfInfoList> = xdr_rpcResultPppoeiaIntfInfoList;
template <>
inline constexpr auto xdr_of<rpcResultPppoeiaVlanInfoList> = xdr_rpcResultPppoeiaVlanInfoList;
template <>
inline constexpr auto xdr_of<rpcResultPppoeiaPortVlanInfoList> =
    xdr_rpcResultPppoeiaPortVlanInfoList;

class Remote {
public:
    Remote();

    // Makes a call through rpcgen's stub, of the agent's program or of the node's
    // own. The reply is valid until the next call of the same stub.
    template <class Reply, class... Parameters, class... Arguments>
    const Reply &call(Reply *(*function)(Parameters...), Arguments... arguments) {
        return answer(agent_, function, arguments...);
    }
    template <class Reply, class... Parameters, class... Arguments>
    const Reply &node(Reply *(*function)(Parameters...), Arguments... arguments) {
        return answer(node_, function, arguments...);
    }

    // Makes a changing call of either program. `what` names the change if it is
    // refused and the agent gives no reason.
    template <class Reply, class... Parameters, class... Arguments>
    void change(const std::string &what, Reply *(*function)(Parameters...),
                Arguments... arguments) {
        if constexpr (std::is_same_v<Reply, rpcPppoeiaResult>)
            accept(call(function, arguments...), what);
        else
            accept(rpcPppoeiaResult(node(function, arguments...)), what);
    }

    static void expect(rpcPppoeiaResult result, const std::string &what);
    static void expect(int result, const std::string &what) {
        expect(rpcPppoeiaResult(result), what);
    }

private:
    class NoPipeSignal {
    public:
        NoPipeSignal();
        ~NoPipeSignal();
        NoPipeSignal(const NoPipeSignal &) = delete;
        NoPipeSignal &operator=(const NoPipeSignal &) = delete;

    private:
        sigset_t before_{};
    };

    struct Destroy {
        void operator()(CLIENT *client) const;
    };
    using Client = std::unique_ptr<CLIENT, Destroy>;

    void accept(rpcPppoeiaResult result, const std::string &what);
    static Client connect(rpcprog_t program, rpcvers_t version);
    [[noreturn]] static void throw_failure(CLIENT *client);

    template <class Reply, class... Parameters, class... Arguments>
    const Reply &answer(const Client &client, Reply *(*function)(Parameters...),
                        Arguments... arguments) {
        const NoPipeSignal guard;
        const Reply *reply = function(arguments..., client.get());
        if (!reply) throw_failure(client.get());
        if constexpr (xdr_of<Reply> == nullptr)
            return *reply;
        else
            return keep(function, *reply);
    }

    // The stub overwrites its earlier reply without freeing it, so it is freed
    // here.
    template <class Reply, class... Parameters>
    static const Reply &keep(Reply *(*function)(Parameters...), const Reply &reply) {
        static std::map<Reply *(*)(Parameters...), Reply> last;
        const auto [kept, first] = last.try_emplace(function, reply);
        if (first) return kept->second;
        xdr_free(reinterpret_cast<xdrproc_t>(xdr_of<Reply>), &kept->second);
        return kept->second = reply;
    }

    Client agent_;
    Client node_;
};

}  // namespace ia::ctl
