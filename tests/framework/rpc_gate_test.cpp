// The gate for remote callers, asked by a real dispatcher over real sockets.
#include "node/framework/registry.h"
#include "platform/bll/rpcGate.h"
#include "tests/rpc/private_node.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <rpc/rpc.h>
#include <atomic>
#include <fstream>
#include <thread>

namespace {

constexpr unsigned long program = 0x20000011;
constexpr rpcproc_t reads = 10, changes = 1;  // procedures

bool_t no_value(XDR *, ...) {
    return TRUE;
}

void dispatch(svc_req *request, SVCXPRT *transport) {
    if (rpcCallAllowed(request, transport, request->rq_proc == changes))
        svc_sendreply(transport, no_value, nullptr);
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

int bound_socket(int type, std::uint16_t port) {
    const int made = socket(AF_INET, type | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(bind(made, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    return made;
}

// Serves the program on its own thread until it goes.
class Server {
public:
    explicit Server(int type) : is_stream(type == SOCK_STREAM) {
        const int socket = bound_socket(type, 0);
        if (is_stream) listen(socket, 4);
        transport = is_stream ? svctcp_create(socket, 0, 0) : svcudp_create(socket);
        EXPECT_TRUE(svc_register(transport, program, 1, dispatch, 0));
        thread = std::thread([this] {
            while (running) {
                fd_set ready = svc_fdset;
                timeval limit{0, 20000};
                if (select(FD_SETSIZE, &ready, nullptr, nullptr, &limit) > 0) svc_getreqset(&ready);
            }
        });
    }
    ~Server() {
        running = false;
        thread.join();
        svc_unregister(program, 1);
        svc_destroy(transport);
    }

    // The outcome of a call from this port; 0: one that the system picks.
    clnt_stat call(std::uint16_t from, rpcproc_t procedure) {
        sockaddr_in server = loopback(transport->xp_port);
        int socket = bound_socket(is_stream ? SOCK_STREAM : SOCK_DGRAM, from);
        if (is_stream) {
            EXPECT_EQ(connect(socket, reinterpret_cast<sockaddr *>(&server), sizeof server), 0);
        }
        CLIENT *const client = is_stream ? clnttcp_create(&server, program, 1, &socket, 0, 0)
                                         : clntudp_create(&server, program, 1, {1, 0}, &socket);
        const timeval limit{5, 0};
        clnt_call(client, procedure, no_value, nullptr, no_value, nullptr, limit);
        rpc_err outcome{};
        clnt_geterr(client, &outcome);
        if (outcome.re_status == RPC_AUTHERROR) {
            EXPECT_EQ(outcome.re_why, AUTH_TOOWEAK);
        }
        clnt_destroy(client);
        close(socket);
        return outcome.re_status;
    }

private:
    const bool is_stream;
    SVCXPRT *transport;
    std::atomic<bool> running = true;
    std::thread thread;
};

void need_reserved_port(bool needed) {
    ia::node::registry().change(
        [&](ia::node::NodeState &node) { node.facts.rpc_reserved_port = needed; });
}

class Gate : public ia::test::PrivateNode {};

TEST_F(Gate, LetsOnlyReservedPortsChangeAnything) {
    ia::test::bring_loopback_up();
    for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
        SCOPED_TRACE(type);
        Server server(type);
        need_reserved_port(true);
        EXPECT_EQ(server.call(1023, changes), RPC_SUCCESS);
        EXPECT_EQ(server.call(1024, changes), RPC_AUTHERROR);
        EXPECT_EQ(server.call(0, changes), RPC_AUTHERROR);
        EXPECT_EQ(server.call(0, reads), RPC_SUCCESS);
        need_reserved_port(false);
        EXPECT_EQ(server.call(0, changes), RPC_SUCCESS);
    }
}

// Where anybody can use port 1000, it proves nothing.
TEST_F(Gate, CountsOnlyPortsThatNeedPrivilege) {
    ia::test::bring_loopback_up();
    std::ofstream("/proc/sys/net/ipv4/ip_unprivileged_port_start") << 1000;
    Server server(SOCK_DGRAM);
    need_reserved_port(true);
    EXPECT_EQ(server.call(999, changes), RPC_SUCCESS);
    EXPECT_EQ(server.call(1000, changes), RPC_AUTHERROR);
}

}  // namespace
