// The procedures that change something, against a node as the lab describes it;
// each leaves the node so.
#include "tests/rpc/procedures_agent.h"

#include <functional>
#include <string>

namespace ia::test {

namespace {

// A switch of the bridge: off and on again, or the other way round.
template <class Stub, class Field>
void turn(Agent &a, Stub stub, Field rpcResultPppoeiaInfo::*field, int other, int described) {
    for (const int value : {other, described}) {
        a.expect(RPC_PPPOEIA_SUCCESS, stub, value);
        a.same("setting", a.settings().*field, value != 0);
    }
}

// A text of the bridge, changed and put back.
void rewrite(Agent &a, decltype(rpc_pppoeia_cid_format_set_1) stub,
             const std::function<std::string()> &now, std::string described) {
    for (std::string text : {std::string("other $VLAN"), std::string(), std::move(described)}) {
        a.expect(RPC_PPPOEIA_SUCCESS, stub, text.data());
        a.same("setting", now(), text);
    }
}

std::string long_text(std::size_t size) {
    return std::string(size, 'x');
}

const Row change_rows[] = {
    {1, [](Agent &a) { turn(a, rpc_pppoeia_set_state_1, &rpcResultPppoeiaInfo::state, 0, 1); }},
    {2,
     [](Agent &a) {
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_unset_circuitid_1);
         a.same("shelf", a.settings().shelfId, "");
         std::string shelf = "shelf1";
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_circuitid_1, shelf.data());
     }},
    {3,
     [](Agent &a) {
         for (std::string shelf : {"shelf9", "shelf1"}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_circuitid_1, shelf.data());
             a.same("shelf", a.settings().shelfId, shelf);
             a.same("Circuit ID", a.port(1).circuitId, "KORVALEN:" + shelf + " eth 3/1/1/1:<vid>");
         }
     }},
    {4,
     [](Agent &a) {
         // Debugging is the log level: all of the trace, or none.
         for (const int on : {1, 0}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_debug_1, on);
             a.same("debug", a.settings().debug, on);
             a.same("log level", a.settings().logLevel, on ? 7 : -1);
         }
     }},
    {5,
     [](Agent &a) {
         for (const auto role : {RPC_PPPOEIA_INTERFACE_BOTH, RPC_PPPOEIA_INTERFACE_CLIENT}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_interface_state_1, 1, role);
             a.same("role", a.port(1).state, role);
         }
         a.expect(RPC_PPPOEIA_FAILURE, rpc_pppoeia_set_interface_state_1, 9,
                  RPC_PPPOEIA_INTERFACE_BOTH);
     }},
    {6,
     [](Agent &a) {
         // Any mode but 0 means untrusted.
         for (const int mode : {0, 5}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_interface_mode_1, 1,
                      rpcPppoeiaInterfaceMode(mode));
             a.same("trust", a.port(1).mode, mode != 0);
         }
     }},
    {7,
     [](Agent &a) {
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_unset_remoteid_1, 1);
         a.same("Remote ID", a.port(1).remoteId, "");
         std::string described = "line-0001";
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_remoteid_1, 1, described.data());
     }},
    {8,
     [](Agent &a) {
         for (std::string text : {"another line", "line-0001"}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_remoteid_1, 1, text.data());
             a.same("Remote ID", a.port(1).remoteId, text);
             a.same("Remote ID of another port", a.port(2).remoteId, "line-0002");
         }
         std::string longest = long_text(64);
         a.expect(RPC_PPPOEIA_FAILURE, rpc_pppoeia_set_remoteid_1, 1, longest.data());
     }},
    {9,
     [](Agent &a) {
         // The id is cut to 16 bits.
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_vlan_state_1, 0x10000 + 100, 0);
         a.same("VLAN 100", a.vlan(100), false);
         a.same("VLAN 200", a.vlan(200), true);
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_vlan_state_1, 100, 1);
         a.same("VLAN 100", a.vlan(100), true);
         a.expect(RPC_PPPOEIA_NOT_FOUND, rpc_pppoeia_set_vlan_state_1, 4000, 1);
     }},
    {15,
     [](Agent &a) {
         for (const int level : {4, -1}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_log_level_1,
                      rpcPppoeiaLoggingLevel(level));
             a.same("log level", a.settings().logLevel, level);
             a.same("debug", a.settings().debug, level != -1);
         }
     }},
    {16,
     [](Agent &a) {
         for (const auto mode : {RPC_PPPOEIA_VSA_KEEP, RPC_PPPOEIA_VSA_REMOVE}) {
             a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_set_vsa_mode_1, mode);
             a.same("mode of tags", a.settings().vsaMode, mode);
         }
     }},
    {17,
     [](Agent &a) {
         turn(a, rpc_pppoeia_set_vsa_circuitid_state_1, &rpcResultPppoeiaInfo::vsaCircuitIdState, 0,
              256);
     }},
    {18,
     [](Agent &a) {
         turn(a, rpc_pppoeia_set_vsa_remoteid_state_1, &rpcResultPppoeiaInfo::vsaRemoteIdState, 0,
              -1);
     }},
    {21,
     [](Agent &a) {
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_reset_stat_1);
         compare_counters(a, a.ask(rpc_pppoeia_get_stat_1), 0);
     }},
    {22,
     [](Agent &a) {
         a.expect(RPC_PPPOEIA_SUCCESS, rpc_pppoeia_reset_interface_stat_1, 1);
         compare_counters(a, a.ask(rpc_pppoeia_get_interface_stat_1, 1), 0);
         a.expect(RPC_PPPOEIA_FAILURE, rpc_pppoeia_reset_interface_stat_1, 9);
     }},
    {23,
     [](Agent &a) {
         turn(a, rpc_pppoeia_set_circuit_id_cvlan_1, &rpcResultPppoeiaInfo::vsaCircuitIdCVlanState,
              1, 0);
     }},
    {24,
     [](Agent &a) {
         const auto set = rpc_pppoeia_set_interface_circuit_id_mode_1;
         a.expect(RPC_PPPOEIA_NOT_FOUND, set, 1, RPC_PPPOEIA_CID_ATM);  // not an ATM port
         for (const auto mode : {RPC_PPPOEIA_CID_CUSTOM, RPC_PPPOEIA_CID_DEFAULT}) {
             a.expect(RPC_PPPOEIA_SUCCESS, set, 1, mode);
             a.same("Circuit-ID mode", a.port(1).cidMode, mode);
         }
     }},
    {26,
     [](Agent &a) {
         rewrite(
             a, rpc_pppoeia_cid_format_set_1, [&] { return std::string(a.settings().cidFormat); },
             "");
         std::string too_long = long_text(129);
         a.expect(RPC_PPPOEIA_FAILURE, rpc_pppoeia_cid_format_set_1, too_long.data());
     }},
    {27,
     [](Agent &a) {
         rewrite(
             a, rpc_pppoeia_rid_format_set_1, [&] { return std::string(a.settings().ridFormat); },
             "$PORT_REM_ID");
     }},
    {32,
     [](Agent &a) {
         with_entry(a, [&] { a.same("port's own mode", a.port(1).cidMode, 0); });
         a.expect(RPC_PPPOEIA_FAILURE, rpc_pppoeia_set_intf_vlan_circuit_id_mode_1, 9, vlan_100,
                  RPC_PPPOEIA_CID_CUSTOM);
     }},
};

}  // namespace

std::span<const Row> changes() {
    return change_rows;
}

}  // namespace ia::test
