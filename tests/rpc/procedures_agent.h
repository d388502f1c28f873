// The agent as a test asks it: calls by the generated stubs, and what differs
// from what was expected.
#pragma once

#include "rpc/pppoeia.h"

#include <functional>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace ia::test {

inline constexpr timeval limit{10, 0};
inline constexpr u_short vlan_100 = 100, vlan_200 = 200, no_vlan = 4095;

// How what a reply holds is freed. The other replies hold nothing.
template <class Reply>
xdrproc_t routine_of(Reply *) {
    return nullptr;
}
#define HOLDS_MEMORY(reply)                              \
    inline xdrproc_t routine_of(reply *) {               \
        return reinterpret_cast<xdrproc_t>(xdr_##reply); \
    }
HOLDS_MEMORY(rpcResultPppoeiaInfo)
HOLDS_MEMORY(rpcResultPppoeiaIntfInfo)
HOLDS_MEMORY(rpcResultPppoeiaIntfInfoList)
HOLDS_MEMORY(rpcResultPppoeiaVlanInfoList)
HOLDS_MEMORY(rpcResultPppoeiaPortVlanInfoList)
#undef HOLDS_MEMORY

// A value as whatever type the stub takes it.
template <class Value>
struct Argument {
    Value value;
    template <class Wanted>
    operator Wanted() const {
        return static_cast<Wanted>(value);
    }
};

// The agent as seen over one client handle. A reply lasts until the next call.
class Agent {
public:
    explicit Agent(CLIENT *handle) : client(handle, [](CLIENT *used) { clnt_destroy(used); }) {
        if (!client) throw std::runtime_error(clnt_spcreateerror("no client"));
    }
    ~Agent() { release(); }
    Agent(const Agent &) = delete;
    Agent &operator=(const Agent &) = delete;

    template <class Stub, class... Arguments>
    auto &ask(Stub stub, Arguments... arguments) {
        release();
        auto *const reply = stub(Argument<Arguments>{arguments}..., client.get());
        if (!reply) throw std::runtime_error(clnt_sperror(client.get(), "no reply"));
        if (const xdrproc_t routine = routine_of(reply))
            held = [this, routine, reply] { clnt_freeres(client.get(), routine, reply); };
        return *reply;
    }

    template <class Stub, class... Arguments>
    void expect(rpcPppoeiaResult wanted, Stub stub, Arguments... arguments) {
        same("result", ask(stub, arguments...), wanted);
    }

    template <class Got, class Wanted>
    void same(const char *what, const Got &got, const Wanted &wanted) {
        std::ostringstream got_text, wanted_text;
        got_text << got;
        wanted_text << wanted;
        if (got_text.str() == wanted_text.str()) return;
        differences += std::string(differences.empty() ? "" : "; ") + what + " \"" +
                       got_text.str() + "\", not \"" + wanted_text.str() + "\"";
    }

    const rpcResultPppoeiaInfo &settings() {
        const rpcResultPppoeiaInfo &info = ask(rpc_pppoeia_get_info_1);
        same("result of the settings", info.result, RPC_PPPOEIA_SUCCESS);
        return info;
    }

    const rpcPppoeiaIntfInfo &port(u_int number) {
        const rpcResultPppoeiaIntfInfo &reply = ask(rpc_pppoeia_get_interface_info_1, number);
        same("result of the port", reply.result, RPC_PPPOEIA_SUCCESS);
        return reply.info;
    }

    bool vlan(u_int number) {
        const rpcResultPppoeiaVlanInfo &reply = ask(rpc_pppoeia_get_vlan_info_1, number);
        same("result of the VLAN", reply.result, RPC_PPPOEIA_SUCCESS);
        same("VLAN", reply.info.vlanId, number);
        return reply.info.state != 0;
    }

    // The outcome of a call whose arguments are nothing, or one word.
    clnt_stat outcome(rpcproc_t procedure) { return call(procedure, nothing, nullptr); }
    clnt_stat outcome(rpcproc_t procedure, u_int word) {
        return call(procedure, reinterpret_cast<xdrproc_t>(xdr_u_int), &word);
    }

    std::string differences;

private:
    static bool_t nothing(XDR *, ...) { return TRUE; }

    clnt_stat call(rpcproc_t procedure, xdrproc_t arguments, void *values) {
        return clnt_call(client.get(), procedure, arguments, static_cast<caddr_t>(values), nothing,
                         nullptr, limit);
    }

    void release() {
        if (held) std::exchange(held, nullptr)();
    }

    std::unique_ptr<CLIENT, void (*)(CLIENT *)> client;
    std::function<void()> held;
};

// A procedure and what its replies have to be.
struct Row {
    rpcproc_t number;
    void (*check)(Agent &);
};

// All of them, in a node as described in which `padis` frames were counted at
// port 1 since the counters were reset. Called in the order of their numbers,
// they leave the node as described, with the counters at 0 and the trace off.
std::span<const Row> questions(u_int padis);
std::span<const Row> changes();

// What the lab's description implies, with the trace off.
void compare_settings(Agent &agent, const rpcResultPppoeiaInfo &info);

// Only PADIs were counted.
void compare_counters(Agent &agent, const rpcResultPppoeiaStat &reply, u_int padis);

// While port 1 has an entry for VLAN 100 with a custom Circuit ID.
void with_entry(Agent &agent, const std::function<void()> &look);

}  // namespace ia::test
