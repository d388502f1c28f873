// Registration of a program with the real port mapper, and its failures.
#include "rte/BLL/core/rpcProxy.h"
#include "tests/rpc/private_node.h"

#include <arpa/inet.h>
#include <rpc/pmap_clnt.h>
#include <sys/resource.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr unsigned long program = 0x20000011;
constexpr unsigned long version = 1;

bool_t no_value(XDR *, ...) {
    return TRUE;
}

void answer_nothing(svc_req *, SVCXPRT *transport) {
    svc_sendreply(transport, no_value, nullptr);
}

void *register_program(void *) {
    rpcProxyRegisterSvc(program, version, answer_nothing);
    return nullptr;
}

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int mapped_port(unsigned protocol) {
    sockaddr_in node = loopback(0);
    return pmap_getport(&node, program, version, protocol);
}

// The outcome of procedure 0 over one transport of the registered program.
clnt_stat call(unsigned protocol) {
    sockaddr_in server = loopback(mapped_port(protocol));
    int socket = RPC_ANYSOCK;
    CLIENT *const client = protocol == IPPROTO_UDP
                               ? clntudp_create(&server, program, version, {1, 0}, &socket)
                               : clnttcp_create(&server, program, version, &socket, 0, 0);
    if (!client) return rpc_createerr.cf_stat;
    const timeval limit{5, 0};
    const clnt_stat result = clnt_call(client, 0, no_value, nullptr, no_value, nullptr, limit);
    clnt_destroy(client);
    return result;
}

std::string registration_errors() {
    testing::internal::CaptureStderr();
    rpcProxyRegisterSvc(program, version, answer_nothing);
    return testing::internal::GetCapturedStderr();
}

// The ports of the program's two transports, and whether the port mapper took each.
struct Opened {
    int udp_port = 0, tcp_port = 0;
    bool udp_known = false, tcp_known = false;
};

Opened opened() {
    Opened opened;
    for (const rpcProxyTransport_t &transport : rpcProxyTransports(2, std::chrono::seconds(0))) {
        if (transport.program != program) continue;
        EXPECT_EQ(transport.version, version);
        const bool udp = transport.protocol == IPPROTO_UDP;
        (udp ? opened.udp_port : opened.tcp_port) = transport.port;
        (udp ? opened.udp_known : opened.tcp_known) = transport.known;
    }
    return opened;
}

// With the receive loop and a port mapper, where a test begins them.
class Registration : public ia::test::PrivateNode {
protected:
    void SetUp() override {
        PrivateNode::SetUp();
        if (!IsSkipped()) ia::test::bring_loopback_up();
    }

    RPCProxy loop{[](void *) -> void * { return nullptr; }, "BLLManager_mng"};
};

TEST_F(Registration, ReceiveLoopServesAProgramOverBothTransports) {
    const ia::test::PortMapper mapper;
    ASSERT_TRUE(loop.start());
    RPCProxy service(register_program, "pppoeia_mng");
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(service.stop(false));
    EXPECT_EQ(call(IPPROTO_UDP), RPC_SUCCESS);
    EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS);

    const int first = mapped_port(IPPROTO_TCP);
    EXPECT_EQ(registration_errors(), "");
    EXPECT_NE(mapped_port(IPPROTO_TCP), first) << "an earlier registration is replaced";
    EXPECT_EQ(opened().udp_port, mapped_port(IPPROTO_UDP));
    EXPECT_EQ(opened().tcp_port, mapped_port(IPPROTO_TCP));
    EXPECT_TRUE(opened().udp_known && opened().tcp_known);
    EXPECT_TRUE(loop.stop(false));
}

using Words = std::vector<std::uint32_t>;

// A call of procedure 0 without its record mark, and its reply behind its own.
const Words null_call = {7, 0, 2, program, version, 0, 0, 0, 0, 0};
const Words null_reply = {0x80000018, 7, 1, 0, 0, 0, 0};

Words words(std::initializer_list<Words> parts) {
    Words all;
    for (const Words &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

int connect_to_program() {
    const int caller = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in server = loopback(mapped_port(IPPROTO_TCP));
    EXPECT_EQ(connect(caller, reinterpret_cast<const sockaddr *>(&server), sizeof server), 0);
    return caller;
}

void send_bytes(int caller, const void *bytes, std::size_t size) {
    ASSERT_EQ(send(caller, bytes, size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
}

void send_words(int caller, const Words &all) {
    for (const std::uint32_t word : all) {
        const std::uint32_t wire = htonl(word);
        send_bytes(caller, &wire, sizeof wire);
    }
}

// What has come: nothing yet, the end of the connection, or the reply to procedure 0.
enum Outcome { nothing, closed, replied };

Outcome outcome_at(int caller, Outcome expected) {
    Words got;
    std::uint32_t wire = 0;
    const int how = expected == nothing ? MSG_DONTWAIT : MSG_WAITALL;
    while (got.size() < null_reply.size()) {
        const ssize_t size = recv(caller, &wire, sizeof wire, how);
        if (size != sizeof wire) return size < 0 && errno == EAGAIN ? nothing : closed;
        got.push_back(ntohl(wire));
    }
    EXPECT_EQ(got, null_reply);
    return replied;
}

struct Sent {
    const char *name;
    Words words;
    Outcome outcome;
};

const Sent streams[] = {
    {"nothing", {}, nothing},
    {"a mark above 64 KiB and nothing behind it", {0x80010001}, nothing},
    {"a mark of the longest call", {0x80020000}, nothing},
    {"a mark of more than a call may have", {0x80020001}, closed},
    {"the largest mark", {0xFFFFFFFF}, closed},
    {"fragments that grow too long", {0x00000004, 7, 0x80020000}, closed},
    {"half a header", {0x80000028, 7, 0, 2}, nothing},
    {"no call", {0x80000004, 7}, closed},
    {"a reply", {0x80000018, 7, 1, 0, 0, 0, 0}, closed},
    {"one fragment", words({{0x80000028}, null_call}), replied},
    {"three fragments", {4, 7, 16, 0, 2, program, version, 0x80000014, 0, 0, 0, 0, 0}, replied},
    {"empty fragments", words({{0, 0, 0x28}, null_call, {0, 0x80000000}}), replied},
};

TEST_F(Registration, NoConnectionKeepsOthersWaiting) {
    const ia::test::PortMapper mapper;
    ASSERT_TRUE(loop.start());
    register_program(nullptr);
    std::vector<int> callers;
    for (const Sent &row : streams) {
        SCOPED_TRACE(row.name);
        callers.push_back(connect_to_program());
        send_words(callers.back(), row.words);
        EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS);
        EXPECT_TRUE(rpcProxyLoopAnswers());
        EXPECT_EQ(outcome_at(callers.back(), row.outcome), row.outcome);
    }
    // A byte at a time, with other calls between any two.
    const int slow = connect_to_program();
    for (const std::uint32_t word : words({{0x80000028}, null_call})) {
        const std::uint32_t wire = htonl(word);
        send_bytes(slow, &wire, 1);
        EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS);
        send_bytes(slow, reinterpret_cast<const char *>(&wire) + 1, 3);
    }
    EXPECT_EQ(outcome_at(slow, replied), replied);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.stop(false));
    EXPECT_LE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500));
    callers.push_back(slow);
    for (const int caller : callers) close(caller);
}

TEST_F(Registration, TheIdlestConnectionsOfAUserGo) {
    constexpr int many = 1010;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4 * many);
    setrlimit(RLIMIT_NOFILE, &limit);
    const ia::test::PortMapper mapper;
    register_program(nullptr);
    ASSERT_TRUE(loop.start());
    std::vector<int> callers;
    for (int count = 0; count < many; ++count) callers.push_back(connect_to_program());
    EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS);
    int open = 0;
    for (const int caller : callers) {
        open += outcome_at(caller, nothing) == nothing;
        close(caller);
    }
    EXPECT_EQ(open, 31) << "32 of a user, the last of them the call's";
    EXPECT_TRUE(loop.stop(false));
}

// A number and a text are taken, or the arguments cannot be decoded.
void take_text(svc_req *, SVCXPRT *transport) {
    struct Values {
        u_int number;
        char *text;
    } values{};
    bool_t (*const decode)(XDR *, void *) = [](XDR *stream, void *into) -> bool_t {
        Values &taken = *static_cast<Values *>(into);
        return xdr_u_int(stream, &taken.number) && xdr_string(stream, &taken.text, 100);
    };
    const xdrproc_t routine = reinterpret_cast<xdrproc_t>(decode);
    if (svc_getargs(transport, routine, &values))
        svc_sendreply(transport, no_value, nullptr);
    else
        svcerr_decode(transport);
    svc_freeargs(transport, routine, &values);
}

TEST_F(Registration, ADatagramThatIsCutIsNotTakenFurther) {
    const ia::test::PortMapper mapper;
    rpcProxyRegisterSvc(program + 2, version, take_text);
    ASSERT_TRUE(loop.start());
    sockaddr_in server = loopback(0);
    server.sin_port = htons(pmap_getport(&server, program + 2, version, IPPROTO_UDP));
    const int caller = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(caller, reinterpret_cast<const sockaddr *>(&server), sizeof server), 0);
    Words whole = {7, 0, 2, program + 2, version,    1,          0,         0,
                   0, 0, 5, 11,          0x76696374, 0x696d2d6c, 0x696e6500};
    for (std::uint32_t &word : whole) word = htonl(word);
    const std::size_t header = 10 * sizeof(std::uint32_t),
                      size = whole.size() * sizeof(std::uint32_t);

    // Each reply's answer; those to a cut header are none. The whole one comes before each cut.
    const auto answer = [&] {
        std::uint32_t reply[6] = {};
        EXPECT_EQ(recv(caller, reply, sizeof reply, 0), ssize_t(sizeof reply));
        return ntohl(reply[5]);
    };
    for (std::size_t cut = 1; cut < size; ++cut) {
        SCOPED_TRACE(cut);
        send_bytes(caller, whole.data(), size);
        EXPECT_EQ(answer(), std::uint32_t(SUCCESS));
        send_bytes(caller, whole.data(), cut);
        if (cut < header) continue;
        EXPECT_EQ(answer(), std::uint32_t(GARBAGE_ARGS));
    }
    close(caller);
    EXPECT_TRUE(loop.stop(false));
}

// Leaves the system one port to pick, which is taken for these socket types.
std::string errors_with_port_taken(std::initializer_list<int> types) {
    const char range[] = "/proc/sys/net/ipv4/ip_local_port_range";
    std::ofstream(range) << "40000 40000";
    std::vector<int> blockers;
    for (const int type : types) {
        blockers.push_back(socket(AF_INET, type | SOCK_CLOEXEC, 0));
        const sockaddr_in taken = loopback(40000);
        EXPECT_EQ(bind(blockers.back(), reinterpret_cast<const sockaddr *>(&taken), sizeof taken),
                  0);
    }
    const std::string errors = registration_errors();
    std::ofstream(range) << "32768 60999";
    for (const int blocker : blockers) close(blocker);
    return errors;
}

const std::string udp_not_bound =
    "rte/BLL/core/rpcProxy:52 Cannot bind UDP socket for RPC service "
    "0x20000011/536870929, version 1 (98 - Address already in use).\n";

TEST_F(Registration, UdpBindFailureLeavesTcpRegistered) {
    const ia::test::PortMapper mapper;
    EXPECT_EQ(errors_with_port_taken({SOCK_DGRAM}), udp_not_bound);
    EXPECT_EQ(mapped_port(IPPROTO_UDP), 0);
    EXPECT_EQ(mapped_port(IPPROTO_TCP), 40000);
}

TEST_F(Registration, WithoutFreePortsNeitherBinds) {
    EXPECT_EQ(errors_with_port_taken({SOCK_DGRAM, SOCK_STREAM}),
              udp_not_bound +
                  "rte/BLL/core/rpcProxy:76 Cannot bind TCP socket for RPC service "
                  "0x20000011/536870929, version 1 (98 - Address already in use).\n");
}

TEST_F(Registration, WithoutAPortMapperNeitherRegisters) {
    EXPECT_EQ(registration_errors(),
              "rte/BLL/core/rpcProxy:61 Cannot register UDP RPC service 0x20000011/536870929, "
              "version 1.\n"
              "rte/BLL/core/rpcProxy:93 Cannot register TCP RPC service 0x20000011/536870929, "
              "version 1.\n");
    EXPECT_FALSE(opened().udp_known || opened().tcp_known);
    // They are open all the same, for a port mapper that comes later.
    const ia::test::PortMapper mapper;
    EXPECT_TRUE(pmap_set(program, version, IPPROTO_TCP, opened().tcp_port));
    ASSERT_TRUE(loop.start());
    EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS);
    EXPECT_TRUE(loop.stop(false));
}

TEST_F(Registration, WithoutFreeDescriptorsNoSocketIsCreated) {
    testing::internal::CaptureStderr();
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{0, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    rpcProxyRegisterSvc(program, version, answer_nothing);
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "rte/BLL/core/rpcProxy:47 Cannot create UDP socket for RPC service "
              "0x20000011/536870929, version 1 (24 - Too many open files).\n"
              "rte/BLL/core/rpcProxy:70 Cannot create TCP socket for RPC service "
              "0x20000011/536870929, version 1 (24 - Too many open files).\n");
}

}  // namespace
