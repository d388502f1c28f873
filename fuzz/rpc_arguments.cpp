// Any bytes as the arguments of any procedure of the RPC service. The entity is the
// real one, its engine a process of its own. Every call gets exactly one reply, of
// bounded size, that a caller can decode.
#include "client/request.h"
#include "entity/pppoeia.h"
#include "fuzz/check.h"
#include "management/agent_calls.h"
#include "node/framework/changes.h"
#include "rpc/service.h"
#include "tests/client/engine_process.h"
#include "tests/rpc/private_node.h"
#include "tests/support/interface.h"
#include "tests/support/temp_dir.h"

#include <syslog.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>

// Replaces the system's function: this target does not look at the log.
extern "C" void syslog(int, const char *, ...) {}
extern "C" void __syslog_chk(int, int, const char *, ...) {}

namespace {

using ia::node::InterfaceType;

constexpr std::size_t reply_max = 1024 * 1024;

// One call on a transport in memory.
struct Call {
    XDR arguments{};
    std::array<char, 400> credentials{};
    int replies = 0;
    accept_stat answer = SYSTEM_ERR;
};

bool_t get_arguments(SVCXPRT *transport, xdrproc_t routine, void *values) {
    XDR *stream = &static_cast<Call *>(transport->xp_p1)->arguments;
    return reinterpret_cast<bool_t (*)(XDR *, void *)>(routine)(stream, values);
}

bool_t free_arguments(SVCXPRT *, xdrproc_t routine, void *values) {
    XDR stream{};
    stream.x_op = XDR_FREE;
    return reinterpret_cast<bool_t (*)(XDR *, void *)>(routine)(&stream, values);
}

bool_t send_reply(SVCXPRT *transport, rpc_msg *message) {
    static std::array<char, reply_max> bytes;
    auto &call = *static_cast<Call *>(transport->xp_p1);
    ++call.replies;
    MUST(message->rm_reply.rp_stat == MSG_ACCEPTED);
    call.answer = message->acpted_rply.ar_stat;
    XDR stream{};
    xdrmem_create(&stream, bytes.data(), bytes.size(), XDR_ENCODE);
    MUST(xdr_replymsg(&stream, message));
    return TRUE;
}

using TransportCalls = std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>;
TransportCalls memory_transport{nullptr,    nullptr,        get_arguments,
                                send_reply, free_arguments, nullptr};

ia::node::Description describe() {
    ia::node::Description node;
    node.rpc_reserved_port = false;  // tests/framework covers the gate
    node.bridges = {{.name = "br0", .ports = 64}};
    node.vlans = {{.id = 100, .name = "internet", .bridge = "br0"}};
    std::uint32_t id = 0;
    for (const InterfaceType type : {InterfaceType::access, InterfaceType::eth, InterfaceType::olt,
                                     InterfaceType::onu, InterfaceType::gem}) {
        ++id;
        const bool below = type == InterfaceType::onu || type == InterfaceType::gem;
        node.interfaces.push_back(ia::test::interface(id, type, below ? id - 1 : 0));
    }
    return node;
}

// Made before the first input; lives until the process ends.
struct Node {
    Node() : engine(path) {
        ia::engine_path = path.c_str();
        const auto described = describe();
        ia::node::begin_registry(described);
        MUST(pppoeia::instance().start());
        MUST(ia::node::announce_changes(described, calls) == 0);
    }

    const std::string isolated = ia::test::enter_private_node();
    const ia::test::TempDir dir;
    const std::string path = dir / "main";
    ia::test::EngineProcess engine;
    ia::AgentCalls calls;
};

Node &node() {
    static auto *made = new Node;
    return *made;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    node();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    std::array<char, 4096> bytes{};
    const std::size_t length = std::min(size - 1, bytes.size());
    std::copy_n(data + 1, length, bytes.begin());

    Call call;
    xdrmem_create(&call.arguments, bytes.data(), static_cast<u_int>(length), XDR_DECODE);
    SVCXPRT transport{};
    transport.xp_ops = &memory_transport;
    transport.xp_p1 = &call;
    svc_req request{};
    request.rq_prog = ia::rpc_program;
    request.rq_vers = ia::rpc_version;
    request.rq_proc = data[0] % 41;
    request.rq_xprt = &transport;
    request.rq_clntcred = call.credentials.data();
    ia::dispatch(&request, &transport);

    MUST(call.replies == 1);
    MUST((call.answer == PROC_UNAVAIL) == (request.rq_proc > 32));
    MUST(call.answer != SYSTEM_ERR);
    MUST(node().engine.look([] { return std::string("alive"); }) == "alive");
    return 0;
}
