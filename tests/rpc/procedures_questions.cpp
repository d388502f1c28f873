// The procedures that ask, against a node as the lab describes it.
#include "tests/rpc/procedures_agent.h"

#include <string>

namespace ia::test {

void compare_settings(Agent &a, const rpcResultPppoeiaInfo &info) {
    a.same("state", info.state, 1);
    a.same("mode of tags", info.vsaMode, RPC_PPPOEIA_VSA_REMOVE);
    a.same("Circuit ID inserted", info.vsaCircuitIdState, 1);
    a.same("Remote ID inserted", info.vsaRemoteIdState, 1);
    a.same("debug", info.debug, 0);
    a.same("shelf", info.shelfId, "shelf1");
    a.same("log level", info.logLevel, RPC_PPPOEIA_LOG_SILENT);
    a.same("customer VLAN", info.vsaCircuitIdCVlanState, 0);
    a.same("Circuit-ID format", info.cidFormat, "");
    a.same("Remote-ID format", info.ridFormat, "$PORT_REM_ID");
}

void compare_counters(Agent &a, const rpcResultPppoeiaStat &reply, u_int counted) {
    a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
    const rpcPppoeiaStat &stat = reply.stat;
    a.same("PADI", stat.padi, counted);
    for (const u_int other : {stat.padr, stat.pado, stat.pads, stat.padt, stat.dropped,
                              stat.unknown_code, stat.truncated})
        a.same("other counter", other, 0);
}

void with_entry(Agent &a, const std::function<void()> &look) {
    const auto set = rpc_pppoeia_set_intf_vlan_circuit_id_mode_1;
    a.expect(RPC_PPPOEIA_SUCCESS, set, 1, vlan_100, RPC_PPPOEIA_CID_CUSTOM);
    look();
    a.expect(RPC_PPPOEIA_SUCCESS, set, 1, vlan_100, RPC_PPPOEIA_CID_DEFAULT);
}

namespace {

u_int padis_at_port_1 = 0;

constexpr char port_1_circuit_id[] = "KORVALEN:shelf1 eth 3/1/1/1:<vid>";

void compare_access(Agent &a, const rpcPppoeiaIntfInfo &port, int number) {
    const std::string name = "1/1/" + std::to_string(number);
    a.same("name", port.name, name);
    a.same("type", port.type, 8);
    a.same("role", port.state, RPC_PPPOEIA_INTERFACE_CLIENT);
    a.same("trust", port.mode, RPC_PPPOEIA_INTERFACE_UNTRUSTED);
    a.same("Remote ID", port.remoteId, "line-000" + std::to_string(number));
    a.same("Circuit ID", port.circuitId, "KORVALEN:shelf1 eth 3/" + name + ":<vid>");
    a.same("Circuit-ID mode", port.cidMode, RPC_PPPOEIA_CID_DEFAULT);
}

void compare_network(Agent &a, const rpcPppoeiaIntfInfo &port) {
    a.same("name", port.name, "1/2/1");
    a.same("type", port.type, 0);
    a.same("role", port.state, RPC_PPPOEIA_INTERFACE_SERVER);
    a.same("trust", port.mode, RPC_PPPOEIA_INTERFACE_TRUSTED);
    a.same("Remote ID", port.remoteId, "");
    a.same("Circuit ID", port.circuitId, "KORVALEN:shelf1 eth 3/1/2/1:<vid>");
    a.same("Circuit-ID mode", port.cidMode, RPC_PPPOEIA_CID_DEFAULT);
}

void compare_entry(Agent &a, const rpcPppoeiaPortVlanInfo &entry) {
    a.same("port", entry.ifIndex, 1);
    a.same("VLAN", entry.vlanId, 100);
    a.same("Circuit-ID mode", entry.cidMode, RPC_PPPOEIA_CID_CUSTOM);
    a.same("Circuit-ID format", entry.cidFormat, "");
    a.same("Remote-ID format", entry.ridFormat, "");
}

const Row question_rows[] = {
    {0, [](Agent &a) { a.same("outcome", a.outcome(0), RPC_SUCCESS); }},
    {10, [](Agent &a) { compare_settings(a, a.settings()); }},
    {11,
     [](Agent &a) {
         const rpcResultPppoeiaIntfInfoList &reply = a.ask(rpc_pppoeia_get_interface_info_all_1);
         a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
         a.same("number of ports", reply.list.list_len, 3);
         if (reply.list.list_len != 3) return;
         compare_access(a, reply.list.list_val[0], 1);
         compare_access(a, reply.list.list_val[1], 2);
         compare_network(a, reply.list.list_val[2]);
     }},
    {12,
     [](Agent &a) {
         compare_access(a, a.port(2), 2);
         compare_network(a, a.port(10));
         a.same("result of no port", a.ask(rpc_pppoeia_get_interface_info_1, 9).result,
                RPC_PPPOEIA_FAILURE);
     }},
    {13,
     [](Agent &a) {
         const rpcResultPppoeiaVlanInfoList &reply = a.ask(rpc_pppoeia_get_vlan_info_all_1);
         a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
         a.same("number of VLANs", reply.list.list_len, 3);
         if (reply.list.list_len != 3) return;
         for (u_int i = 0; i < 3; ++i) {
             a.same("VLAN", reply.list.list_val[i].vlanId, i * 100);
             a.same("state", reply.list.list_val[i].state, 1);
         }
     }},
    {14,
     [](Agent &a) {
         a.same("VLAN 200", a.vlan(200), true);
         a.same("result of no VLAN", a.ask(rpc_pppoeia_get_vlan_info_1, 4000).result,
                RPC_PPPOEIA_NOT_FOUND);
     }},
    {19, [](Agent &a) { compare_counters(a, a.ask(rpc_pppoeia_get_stat_1), padis_at_port_1); }},
    {20,
     [](Agent &a) {
         compare_counters(a, a.ask(rpc_pppoeia_get_interface_stat_1, 1), padis_at_port_1);
         compare_counters(a, a.ask(rpc_pppoeia_get_interface_stat_1, 2), 0);
         a.same("result of no port", a.ask(rpc_pppoeia_get_interface_stat_1, 9).result,
                RPC_PPPOEIA_FAILURE);
     }},
    {25,
     [](Agent &a) {
         // Its answer is fixed: the same for a port in another mode and for none.
         const auto set = rpc_pppoeia_set_interface_circuit_id_mode_1;
         a.expect(RPC_PPPOEIA_SUCCESS, set, 1, RPC_PPPOEIA_CID_CUSTOM);
         for (const u_int port : {1U, 9U}) {
             const auto &reply = a.ask(rpc_pppoeia_get_interface_circuit_id_mode_1, port);
             a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
             a.same("Circuit-ID mode", reply.cidMode, RPC_PPPOEIA_CID_DEFAULT);
         }
         a.expect(RPC_PPPOEIA_SUCCESS, set, 1, RPC_PPPOEIA_CID_DEFAULT);
     }},
    {28,
     [](Agent &a) {
         with_entry(a, [&] {
             const auto &reply = a.ask(rpc_pppoeia_port_vlan_info_list_get_1, 1);
             a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
             a.same("number of entries", reply.list.list_len, 1);
             if (reply.list.list_len == 1) compare_entry(a, reply.list.list_val[0]);
         });
         const auto &none = a.ask(rpc_pppoeia_port_vlan_info_list_get_1, 2);
         a.same("result of another port", none.result, RPC_PPPOEIA_SUCCESS);
         a.same("entries of another port", none.list.list_len, 0);
     }},
    {29,
     [](Agent &a) {
         with_entry(a, [&] {
             const auto &reply = a.ask(rpc_pppoeia_port_vlan_info_get_1, 1, vlan_100);
             a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
             compare_entry(a, reply.info);
         });
         a.same("result of no entry", a.ask(rpc_pppoeia_port_vlan_info_get_1, 1, vlan_200).result,
                RPC_PPPOEIA_FAILURE);
     }},
    {30,
     [](Agent &a) {
         const auto generate = rpc_pppoeia_get_circuit_id_gen_1;
         a.same("default", a.ask(generate, 1, no_vlan).subopt, port_1_circuit_id);
         std::string format = "$SHELF/$z4VLAN", none;
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_cid_format_set_1, format.data());
         with_entry(a, [&] {
             const auto &reply = a.ask(generate, 1, vlan_100);
             a.same("result", reply.result, RPC_PPPOEIA_SUCCESS);
             a.same("custom", reply.subopt, "shelf1/0100");
         });
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_cid_format_set_1, none.data());
         const auto &reply = a.ask(generate, 9, no_vlan);
         a.same("result of no port", reply.result, RPC_PPPOEIA_FAILURE);
         a.same("text of no port", reply.subopt, "");
     }},
    {31,
     [](Agent &a) {
         const auto generate = rpc_pppoeia_get_remote_id_gen_1;
         a.same("Remote ID", a.ask(generate, 1, no_vlan).subopt, "line-0001");
         a.same("Remote ID", a.ask(generate, 2, vlan_200).subopt, "line-0002");
         a.same("result of no port", a.ask(generate, 9, no_vlan).result, RPC_PPPOEIA_FAILURE);
     }},
};

}  // namespace

std::span<const Row> questions(u_int padis) {
    padis_at_port_1 = padis;
    return question_rows;
}

}  // namespace ia::test
