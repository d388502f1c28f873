// Registration of a program with the real port mapper, and its failures.
#include "rte/BLL/core/rpcProxy.h"
#include "tests/rpc/private_node.h"

#include <arpa/inet.h>
#include <rpc/pmap_clnt.h>
#include <sys/resource.h>
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
        EXPECT_EQ(transport.program, program);
        EXPECT_EQ(transport.version, version);
        const bool udp = transport.protocol == IPPROTO_UDP;
        (udp ? opened.udp_port : opened.tcp_port) = transport.port;
        (udp ? opened.udp_known : opened.tcp_known) = transport.known;
    }
    return opened;
}

using Registration = ia::test::PrivateNode;

TEST_F(Registration, ReceiveLoopServesAProgramOverBothTransports) {
    ia::test::bring_loopback_up();
    const ia::test::PortMapper mapper;
    RPCProxy loop([](void *) -> void * { return nullptr; }, "BLLManager_mng");
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

// A call of procedure 0 and its reply, each behind its record mark.
constexpr std::uint32_t null_call[] = {0x80000028, 7, 0, 2, program, version, 0, 0, 0, 0, 0};
constexpr std::uint32_t null_reply[] = {0x80000018, 7, 1, 0, 0, 0, 0};

TEST_F(Registration, HalfACallKeepsNobodyWaiting) {
    ia::test::bring_loopback_up();
    const ia::test::PortMapper mapper;
    RPCProxy loop([](void *) -> void * { return nullptr; }, "BLLManager_mng");
    ASSERT_TRUE(loop.start());
    register_program(nullptr);

    const int slow = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in server = loopback(mapped_port(IPPROTO_TCP));
    ASSERT_EQ(connect(slow, reinterpret_cast<const sockaddr *>(&server), sizeof server), 0);
    for (std::size_t word = 0; word < std::size(null_call); ++word) {
        EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS) << "before word " << word;
        const std::uint32_t wire = htonl(null_call[word]);
        // Cut within the word, too.
        ASSERT_EQ(send(slow, &wire, 1, 0), 1);
        EXPECT_EQ(call(IPPROTO_TCP), RPC_SUCCESS) << "in word " << word;
        ASSERT_EQ(send(slow, reinterpret_cast<const char *>(&wire) + 1, 3, 0), 3);
    }
    for (const std::uint32_t expected : null_reply) {
        std::uint32_t wire = 0;
        ASSERT_EQ(recv(slow, &wire, sizeof wire, MSG_WAITALL), 4);
        EXPECT_EQ(ntohl(wire), expected);
    }
    close(slow);
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
    ia::test::bring_loopback_up();
    const ia::test::PortMapper mapper;
    EXPECT_EQ(errors_with_port_taken({SOCK_DGRAM}), udp_not_bound);
    EXPECT_EQ(mapped_port(IPPROTO_UDP), 0);
    EXPECT_EQ(mapped_port(IPPROTO_TCP), 40000);
}

TEST_F(Registration, WithoutFreePortsNeitherBinds) {
    ia::test::bring_loopback_up();
    EXPECT_EQ(errors_with_port_taken({SOCK_DGRAM, SOCK_STREAM}),
              udp_not_bound +
                  "rte/BLL/core/rpcProxy:76 Cannot bind TCP socket for RPC service "
                  "0x20000011/536870929, version 1 (98 - Address already in use).\n");
}

TEST_F(Registration, WithoutAPortMapperNeitherRegisters) {
    ia::test::bring_loopback_up();
    EXPECT_EQ(registration_errors(),
              "rte/BLL/core/rpcProxy:61 Cannot register UDP RPC service 0x20000011/536870929, "
              "version 1.\n"
              "rte/BLL/core/rpcProxy:93 Cannot register TCP RPC service 0x20000011/536870929, "
              "version 1.\n");
    EXPECT_FALSE(opened().udp_known || opened().tcp_known);
    // They are open all the same, for a port mapper that comes later.
    const ia::test::PortMapper mapper;
    EXPECT_TRUE(pmap_set(program, version, IPPROTO_TCP, opened().tcp_port));
    RPCProxy loop([](void *) -> void * { return nullptr; }, "BLLManager_mng");
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
