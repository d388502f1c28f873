// What the agent is set to.
#include "programs/ctl/answers.h"
#include "programs/ctl/screen.h"

#include <cstdio>

namespace ia::ctl {

namespace {

Json json_of(const rpcPppoeiaIntfInfo &port, std::uint32_t number) {
    return {
        {"number", number},
        {"name", port.name},
        {"type", word_for(port_types, static_cast<int>(port.type))},
        {"role", word_for(roles, port.state)},
        {"trust", word_for(trusts, port.mode)},
        {"circuit_id_mode", word_for(id_modes, port.cidMode)},
        {"circuit_id", port.circuitId},
        {"remote_id", port.remoteId},
    };
}

Json settings_of(const rpcResultPppoeiaInfo &info) {
    return {
        {"agent", info.state != 0},
        {"tags_from_servers", word_for(tag_modes, info.vsaMode)},
        {"insert_circuit_id", info.vsaCircuitIdState != 0},
        {"insert_remote_id", info.vsaRemoteIdState != 0},
        {"customer_vlan_in_id", info.vsaCircuitIdCVlanState != 0},
        {"shelf", info.shelfId},
        {"circuit_id_format", std::string(info.cidFormat)},
        {"remote_id_format", std::string(info.ridFormat)},
        {"debug", info.debug != 0},
        {"log_level", static_cast<int>(info.logLevel)},
    };
}

void print(const std::string &text) {
    std::fputs(text.c_str(), stdout);
}

}  // namespace

Json show_settings(Call &call) {
    const rpcResultPppoeiaInfo &info = call.agent().call(rpc_pppoeia_get_info_1);
    Remote::expect(info.result, "the settings");
    return {{"settings", settings_of(info)}};
}

void print_settings(const Json &answer) {
    const Json &settings = answer.at("settings");
    print(field("agent", settings.at("agent")) +
          field("tags from servers", settings.at("tags_from_servers")) +
          field("insert Circuit ID", settings.at("insert_circuit_id")) +
          field("insert Remote ID", settings.at("insert_remote_id")) +
          field("customer VLAN in ID", settings.at("customer_vlan_in_id")) +
          field("shelf", settings.at("shelf")) +
          field("Circuit-ID format", settings.at("circuit_id_format")) +
          field("Remote-ID format", settings.at("remote_id_format")) +
          field("debug", settings.at("debug")) + field("log level", settings.at("log_level")));
}

Json show_bridge(Call &call) {
    const Json settings = show_settings(call).at("settings");
    const rpcNodeCountersReply &counters = call.agent().node(rpc_node_counters_1);
    Remote::expect(counters.result, "the ports");
    const Json vlans = show_vlans(call).at("vlans");
    return {{"bridge",
             {{"name", counters.bridge},
              {"agent", settings.at("agent")},
              {"tags_from_servers", settings.at("tags_from_servers")},
              {"ports", counters.ports.ports_len},
              {"vlans", vlans.size()}}}};
}

void print_bridge(const Json &answer) {
    const Json &bridge = answer.at("bridge");
    print(field("bridge", bridge.at("name")) + field("agent", bridge.at("agent")) +
          field("tags from servers", bridge.at("tags_from_servers")) +
          field("ports", bridge.at("ports")) + field("VLANs", bridge.at("vlans")));
}

// The records carry no number; both lists have the same ports.
Json show_ports(Call &call) {
    const rpcResultPppoeiaIntfInfoList &ports =
        call.agent().call(rpc_pppoeia_get_interface_info_all_1);
    Remote::expect(ports.result, "the ports");
    const rpcNodePortList &numbers = call.agent().node(rpc_node_ports_1);
    Remote::expect(numbers.result, "the ports");
    std::map<std::string, std::uint32_t> number_of;
    for (u_int i = 0; i < numbers.list.list_len; ++i)
        number_of.emplace(numbers.list.list_val[i].name, numbers.list.list_val[i].number);
    Json list = Json::array();
    for (u_int i = 0; i < ports.list.list_len; ++i) {
        const rpcPppoeiaIntfInfo &port = ports.list.list_val[i];
        list.push_back(json_of(port, number_of[port.name]));
    }
    return {{"ports", list}};
}

void print_ports(const Json &answer) {
    print(table({{"NAME", "name"},
                 {"PORT", "number", true},
                 {"ROLE", "role"},
                 {"TRUST", "trust"},
                 {"IDS", "circuit_id_mode"},
                 {"CIRCUIT ID", "circuit_id"},
                 {"REMOTE ID", "remote_id"}},
                answer.at("ports")));
}

Json show_port(Call &call) {
    const std::uint32_t number = call.number("port");
    const rpcResultPppoeiaIntfInfo &reply =
        call.agent().call(rpc_pppoeia_get_interface_info_1, number);
    Remote::expect(reply.result, "port " + call.text("port"));
    Json port = json_of(reply.info, number);
    Json lines = Json::array();
    const rpcResultPppoeiaPortVlanInfoList &entries =
        call.agent().call(rpc_pppoeia_port_vlan_info_list_get_1, number);
    for (u_int i = 0; entries.result == RPC_PPPOEIA_SUCCESS && i < entries.list.list_len; ++i) {
        const rpcPppoeiaPortVlanInfo &entry = entries.list.list_val[i];
        lines.push_back({{"vlan", entry.vlanId},
                         {"circuit_id_mode", word_for(id_modes, entry.cidMode)},
                         {"circuit_id_format", std::string(entry.cidFormat)},
                         {"remote_id_format", std::string(entry.ridFormat)}});
    }
    // Null where the agent cannot tell: an entry without a mode hides the others.
    port["vlans"] = entries.result == RPC_PPPOEIA_SUCCESS ? lines : Json();
    return {{"port", port}};
}

void print_port(const Json &answer) {
    const Json &port = answer.at("port");
    print(field("port", port.at("number")) + field("name", port.at("name")) +
          field("type", port.at("type")) + field("role", port.at("role")) +
          field("trust", port.at("trust")) + field("Circuit-ID mode", port.at("circuit_id_mode")) +
          field("Circuit ID", port.at("circuit_id")) + field("Remote ID", port.at("remote_id")));
    if (port.at("vlans").empty()) return;
    print('\n' + table({{"VLAN", "vlan", true},
                        {"IDS", "circuit_id_mode"},
                        {"CIRCUIT-ID FORMAT", "circuit_id_format"},
                        {"REMOTE-ID FORMAT", "remote_id_format"}},
                       port.at("vlans")));
}

Json show_vlans(Call &call) {
    const rpcResultPppoeiaVlanInfoList &vlans = call.agent().call(rpc_pppoeia_get_vlan_info_all_1);
    Remote::expect(vlans.result, "the VLANs");
    Json list = Json::array();
    for (u_int i = 0; i < vlans.list.list_len; ++i)
        list.push_back({{"vlan", vlans.list.list_val[i].vlanId},
                        {"agent", vlans.list.list_val[i].state != 0}});
    return {{"vlans", list}};
}

Json show_vlan(Call &call) {
    const std::uint32_t vlan = call.number("vlan");
    const rpcResultPppoeiaVlanInfo &reply = call.agent().call(rpc_pppoeia_get_vlan_info_1, vlan);
    Remote::expect(reply.result, "VLAN " + std::to_string(vlan));
    return {
        {"vlans", Json::array({{{"vlan", reply.info.vlanId}, {"agent", reply.info.state != 0}}})}};
}

void print_vlans(const Json &answer) {
    print(table({{"VLAN", "vlan", true}, {"AGENT", "agent"}}, answer.at("vlans")));
}

}  // namespace ia::ctl
