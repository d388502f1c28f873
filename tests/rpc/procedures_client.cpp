// Calls the agent's procedures over one transport and compares every field of
// the replies with what the lab's node description implies. A line a procedure;
// the status is not 0 when anything differed.
//
//   procedures_client tcp|udp SCENE [PADIS]
//
// Scenes:
//   all             every procedure; PADIS frames were counted at port 1
//   profile         what profile mode refuses and allows
//   not-root        a caller whose port anyone may use
//   malformed       calls that the dispatcher refuses
//   cut-short       calls without all of their arguments
#include "tests/rpc/procedures_agent.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace ia::test {

namespace {

const Row profile[] = {
    {1,
     [](Agent &a) {
         const bool_t before = a.settings().state;
         a.expect(RPC_PPPOEIA_PROFILE_MODE, rpc_pppoeia_set_state_1, !before);
         a.same("state", a.settings().state, before);
     }},
    {5,
     [](Agent &a) {
         const auto set = rpc_pppoeia_set_interface_state_1;
         a.expect(RPC_PPPOEIA_PROFILE_MODE, set, 1, RPC_PPPOEIA_INTERFACE_BOTH);
         a.same("role", a.port(1).state, RPC_PPPOEIA_INTERFACE_CLIENT);
         for (const auto role : {RPC_PPPOEIA_INTERFACE_BOTH, RPC_PPPOEIA_INTERFACE_SERVER}) {
             a.expect(RPC_PPPOEIA_SUCCESS, set, 10, role);  // an uplink
             a.same("role of the uplink", a.port(10).state, role);
         }
     }},
    {9,
     [](Agent &a) {
         const bool before = a.vlan(100);
         a.expect(RPC_PPPOEIA_PROFILE_MODE, rpc_pppoeia_set_vlan_state_1, 100, !before);
         a.same("VLAN 100", a.vlan(100), before);
     }},
    {32,
     [](Agent &a) {
         a.expect(RPC_PPPOEIA_PROFILE_MODE, rpc_pppoeia_set_intf_vlan_circuit_id_mode_1, 1,
                  vlan_100, RPC_PPPOEIA_CID_CUSTOM);
         a.same("entries", a.ask(rpc_pppoeia_port_vlan_info_list_get_1, 1).list.list_len, 0);
     }},
    {8,  // like all others
     [](Agent &a) {
         std::string described = "line-0001";
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_remoteid_1, 1, described.data());
     }},
};

const Row not_root[] = {
    {10, [](Agent &a) { compare_settings(a, a.settings()); }},
    {1,
     [](Agent &a) {
         a.same("outcome", a.outcome(1, 0), RPC_AUTHERROR);
         a.same("state", a.settings().state, 1);
     }},
    {21, [](Agent &a) { a.same("outcome", a.outcome(21), RPC_AUTHERROR); }},
};

const Row malformed[] = {
    {33, [](Agent &a) { a.same("outcome", a.outcome(33), RPC_PROCUNAVAIL); }},
    {3,
     [](Agent &a) {
         // The length of a text that does not follow.
         a.same("outcome", a.outcome(3, 0xFFFFFFFF), RPC_CANTDECODEARGS);
         a.same("shelf", a.settings().shelfId, "shelf1");
     }},
};

const Row cut_short[] = {
    {12, [](Agent &a) { a.same("outcome", a.outcome(12), RPC_CANTDECODEARGS); }},
    {32,
     [](Agent &a) {
         // The port, and nothing of the other two.
         a.same("outcome", a.outcome(32, 1), RPC_CANTDECODEARGS);
     }},
};

// A handle whose socket is bound to a port that anyone may use.
CLIENT *from_any_port(const std::string &transport) {
    const bool tcp = transport == "tcp";
    int socket = ::socket(AF_INET, (tcp ? SOCK_STREAM : SOCK_DGRAM) | SOCK_CLOEXEC, 0);
    sockaddr_in here{}, there{};
    here.sin_family = there.sin_family = AF_INET;
    here.sin_addr.s_addr = there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(socket, reinterpret_cast<sockaddr *>(&here), sizeof here) != 0) return nullptr;
    return tcp ? clnttcp_create(&there, RPC_PPPOEIA, RPC_PPPOEIA_V1, &socket, 0, 0)
               : clntudp_create(&there, RPC_PPPOEIA, RPC_PPPOEIA_V1, {1, 0}, &socket);
}

int run(std::span<const Row> rows, CLIENT *client, const std::string &transport) {
    Agent agent(client);
    int status = EXIT_SUCCESS;
    for (const Row &row : rows) {
        agent.differences.clear();
        try {
            row.check(agent);
        } catch (const std::exception &error) {
            agent.differences += error.what();
        }
        const bool ok = agent.differences.empty();
        std::printf("%s %u %s%s%s\n", ok ? "ok" : "FAILED", row.number, transport.c_str(),
                    ok ? "" : ": ", agent.differences.c_str());
        if (!ok) status = EXIT_FAILURE;
    }
    return status;
}

std::vector<Row> all_procedures(u_int padis) {
    std::vector<Row> all;
    for (const std::span<const Row> part : {questions(padis), changes()})
        all.insert(all.end(), part.begin(), part.end());
    std::ranges::sort(all, {}, &Row::number);
    return all;
}

}  // namespace

static int run_scene(const std::string &transport, const std::string &scene, u_int padis) {
    if (scene == "not-root") return run(not_root, from_any_port(transport), transport);
    CLIENT *const client = clnt_create("127.0.0.1", RPC_PPPOEIA, RPC_PPPOEIA_V1, transport.c_str());
    if (scene == "all") return run(all_procedures(padis), client, transport);
    if (scene == "profile") return run(profile, client, transport);
    if (scene == "cut-short") return run(cut_short, client, transport);
    if (scene == "malformed") return run(malformed, client, transport);
    throw std::runtime_error("no such scene: " + scene);
}

}  // namespace ia::test

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fputs("usage: procedures_client tcp|udp SCENE [PADIS]\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        return ia::test::run_scene(argv[1], argv[2],
                                   argc > 3 ? static_cast<u_int>(std::atoi(argv[3])) : 0);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "procedures_client: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
