// Shows the agent's settings.
#include "ctl/answers.h"
#include "ctl/devices.h"
#include "ctl/screen.h"
#include "ctl/settings.h"

#include <algorithm>
#include <cstdio>

namespace ia::ctl {

namespace {

// The record's Circuit ID is the store's own, without the system's texts; no frame
// carries it. The IDs in frames depend on the VLAN.
Json json_of(const rpcPppoeiaIntfInfo &port, std::uint32_t number,
             const std::map<std::uint32_t, std::string> &devices) {
    const auto device = devices.find(number);
    const bool known = device != devices.end();
    return {
        {"number", number},
        {"name", port.name},
        {"type", word_for(port_types, static_cast<int>(port.type))},
        {"device", known ? Json(device->second) : Json()},
        {"link", known ? Json(link_of(device->second)) : Json()},
        {"role", word_for(roles, port.state)},
        {"trust", word_for(trusts, port.mode)},
        {"circuit_id_mode", word_for(id_modes, port.cidMode)},
        {"circuit_id", nullptr},
        {"sent_remote_id", nullptr},
        {"remote_id", port.remoteId},
    };
}

// The IDs that the engine puts into frames of this VLAN; null when it does not say.
void add_ids(Json &port, Call &call, std::uint16_t vlan) {
    const auto number = port.at("number").get<std::uint32_t>();
    const std::string what = "port " + port.at("name").get<std::string>();
    const rpcNodeLineIds &ids =
        call.agent().node(rpc_node_line_ids_1, number, vlan, no_vlan, rpcNodeMac{});
    Remote::expect(ids.result, what);
    port["circuit_id"] = ids.circuitId.text;
    port["sent_remote_id"] = ids.remoteId.text;
}

void print(const std::string &text) {
    std::fputs(text.c_str(), stdout);
}

}  // namespace

Json show_settings(Call &call) {
    const rpcResultPppoeiaInfo &info = call.agent().call(rpc_pppoeia_get_info_1);
    Remote::expect(info.result, "the settings");
    const bool debug = info.debug != 0;
    const node::AgentSettings now = settings_in_force(call).agent;
    Json settings = json_of_record(now);
    settings["debug"] = debug;
    settings["described"] = described_otherwise(now, described_settings(call).agent);
    return {{"settings", settings}};
}

void print_settings(const Json &answer) {
    const Json &settings = answer.at("settings");
    print(fields_of<node::AgentSettings>(settings) + field("debug", settings.at("debug")));
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

// The records have no number; both lists have the same ports in the same order.
Json show_ports(Call &call) {
    const rpcResultPppoeiaIntfInfoList &ports =
        call.agent().call(rpc_pppoeia_get_interface_info_all_1);
    Remote::expect(ports.result, "the ports");
    std::map<std::string, std::uint32_t> wanted;
    for (const PortName &port : call.has("port") ? call.ports() : call.session().ports())
        wanted.emplace(port.name, port.number);
    const auto devices = devices_of_ports(call.agent());
    const auto vlan = call.maybe("vlan");
    Json list = Json::array();
    for (u_int i = 0; i < ports.list.list_len; ++i) {
        const auto port = wanted.find(ports.list.list_val[i].name);
        if (port == wanted.end()) continue;
        list.push_back(json_of(ports.list.list_val[i], port->second, devices));
        if (vlan) add_ids(list.back(), call, static_cast<std::uint16_t>(*vlan));
    }
    Json served = Json::array();
    const Json vlans = show_vlans(call);
    for (const Json &row : vlans.at("vlans"))
        if (row.at("agent").get<bool>()) served.push_back(row.at("vlan"));
    return {{"ports", list}, {"vlan", vlan ? Json(*vlan) : Json()}, {"served_vlans", served}};
}

void print_ports(const Json &answer) {
    const Json &served = answer.at("served_vlans");
    if (answer.at("vlan").is_null()) {
        print(table({{"NAME", "name"},
                     {"PORT", "number", true},
                     {"DEVICE", "device", false, 4},
                     {"LINK", "link", false, 5},
                     {"ROLE", "role"},
                     {"TRUST", "trust", false, 2},
                     {"IDS", "circuit_id_mode", false, 3},
                     {"TYPE", "type", false, 1},
                     {"REMOTE ID", "remote_id"}},
                    answer.at("ports")));
        std::string vlans;
        for (const Json &vlan : served) vlans += (vlans.empty() ? "" : ", ") + vlan.dump();
        print('\n' + line("VLANs served", vlans.empty() ? "none" : vlans));
        return;
    }
    print(table({{"NAME", "name"},
                 {"PORT", "number", true, 1},
                 {"ROLE", "role", false, 2},
                 {"CIRCUIT ID", "circuit_id"},
                 {"REMOTE ID", "sent_remote_id"}},
                answer.at("ports")));
    if (std::find(served.begin(), served.end(), answer.at("vlan")) == served.end())
        print("\nVLAN " + answer.at("vlan").dump() +
              " is not served: frames from subscribers pass as they are, without these IDs\n");
}

Json show_port(Call &call) {
    const std::uint32_t number = call.number("port");
    const rpcResultPppoeiaIntfInfo &reply =
        call.agent().call(rpc_pppoeia_get_interface_info_1, number);
    Remote::expect(reply.result, "port " + call.port_name());
    Json port = json_of(reply.info, number, devices_of_ports(call.agent()));
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
    const node::PortSettings now = settings_in_force(call).ports[number];
    port["described"] = described_otherwise(now, described_settings(call).ports[number]);
    // Null when the agent cannot tell: an entry without a mode hides the others.
    port["vlans"] = entries.result == RPC_PPPOEIA_SUCCESS ? lines : Json();
    return {{"port", port}};
}

void print_port(const Json &answer) {
    const Json &port = answer.at("port");
    print(field("port", port.at("number")) + field("name", port.at("name")) +
          field("type", port.at("type")) + field("device", port.at("device")) +
          field("link", port.at("link")) + fields_of<node::PortSettings>(port));
    if (port.at("vlans").empty()) return;
    print('\n' + table({{"VLAN", "vlan", true},
                        {"IDS", "circuit_id_mode"},
                        {"CIRCUIT-ID FORMAT", "circuit_id_format", false, 2},
                        {"REMOTE-ID FORMAT", "remote_id_format", false, 1}},
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
    if (reply.result == RPC_PPPOEIA_NOT_FOUND)
        throw Refused("there is no VLAN " + std::to_string(vlan) +
                      "; 'pppoeiactl show vlans' lists them");
    Remote::expect(reply.result, "VLAN " + std::to_string(vlan));
    return {
        {"vlans", Json::array({{{"vlan", reply.info.vlanId}, {"agent", reply.info.state != 0}}})}};
}

void print_vlans(const Json &answer) {
    print(table({{"VLAN", "vlan", true}, {"AGENT", "agent"}}, answer.at("vlans")));
}

}  // namespace ia::ctl
