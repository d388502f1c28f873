// Shows both IDs of a line as they are now, and which setting made them.
#include "ctl/answers.h"
#include "ctl/screen.h"
#include "pppoeia/records.h"

#include <algorithm>
#include <cstdio>

namespace ia::ctl {

namespace {

// A setting, and where it was set.
struct Winner {
    Json value;
    std::string from;
};

Winner mode_of(const rpcPppoeiaIntfInfo &port, const rpcNodeLine &line, bool has_vlan) {
    if (!has_vlan || !line.present) return {word_for(id_modes, port.cidMode), "port"};
    if (static_cast<std::uint32_t>(line.cidMode) == PPPOEIA_CID_NOT_SET)
        return {nullptr, "port and VLAN"};
    return {word_for(id_modes, line.cidMode), "port and VLAN"};
}

Winner format_of(const char *of_line, const std::string &of_bridge) {
    if (of_line && *of_line) return {of_line, "port and VLAN"};
    if (!of_bridge.empty()) return {of_bridge, "bridge"};
    return {nullptr, "nowhere"};
}

Json id_of(const rpcNodeId &id, const Json &mode, const std::string &mode_from,
           const Winner &format, bool custom) {
    const std::string bytes(id.bytes.bytes_val, id.bytes.bytes_len);
    return {{"text", id.text},
            {"hex", hex_of(bytes)},
            {"binary", id.binary != 0},
            {"length", bytes.size()},
            {"mode", mode},
            {"mode_from", mode.is_null() ? Json() : Json(mode_from)},
            {"format", custom ? format.value : Json()},
            {"format_from", custom ? Json(format.from) : Json()}};
}

std::string id_text(const char *name, const Json &id) {
    std::string out = line(name, '\'' + printable(id.at("text").get<std::string>()) + '\'');
    if (id.at("binary").get<bool>()) out += line("", "it is sent as bytes, these:");
    out += line("  hex", id.at("hex").get<std::string>()) +
           line("  length", id.at("length").dump() + " of 63");
    if (!id.at("mode").is_null())
        out += line("  mode", id.at("mode").get<std::string>() + ", set for the " +
                                  id.at("mode_from").get<std::string>());
    if (!id.at("format").is_null())
        out += line("  format", '\'' + printable(id.at("format").get<std::string>()) +
                                    "', set for the " + id.at("format_from").get<std::string>());
    else if (!id.at("format_from").is_null())
        out += line("  format", "none is set");
    return out;
}

}  // namespace

namespace {

constexpr char placeholder[] = "<cvid>";  // of the default form

// Notes on these IDs.
Json notes_of(Call &call, const rpcResultPppoeiaInfo &info, const rpcPppoeiaIntfInfo &port,
              std::optional<std::uint32_t> vlan, const std::string &circuit_id) {
    Json notes = Json::array();
    const auto served = [&] {
        const auto &reply = call.agent().call(rpc_pppoeia_get_vlan_info_1, *vlan);
        return reply.result == RPC_PPPOEIA_SUCCESS && reply.info.state != 0;
    };
    const std::string type = word_for(port_types, static_cast<int>(port.type));
    const std::string role = word_for(roles, port.state);
    if (!info.state) notes.push_back("the agent is off: no frame gets an ID");
    if (role == "disabled")
        notes.push_back("the port's role is disabled: its frames pass as they are, without IDs");
    if (role == "server")
        notes.push_back("the port's role is server: requests of clients are dropped there");
    if (vlan && type != "eth" && type != "lag" && !served())
        notes.push_back("VLAN " + std::to_string(*vlan) +
                        " is not served: its frames pass as they are, without IDs");
    if (!info.vsaCircuitIdState) notes.push_back("Circuit IDs are not inserted");
    if (!info.vsaRemoteIdState) notes.push_back("Remote IDs are not inserted");
    if (vlan && circuit_id.find(placeholder) != std::string::npos)
        notes.push_back(std::string(placeholder) +
                        " stands for the customer VLAN of a frame; --cvid names one");
    return notes;
}

}  // namespace

Json preview(Call &call) {
    const std::uint32_t port = call.number("port");
    const auto vlan = static_cast<std::uint16_t>(call.maybe("vlan").value_or(no_vlan));
    const bool has_vlan = vlan != no_vlan;
    const std::string what = "port " + call.port_name() + ", VLAN " + std::to_string(vlan);
    Remote &agent = call.agent();
    const auto &info = agent.call(rpc_pppoeia_get_info_1);
    Remote::expect(info.result, "the settings");
    const auto &interface = agent.call(rpc_pppoeia_get_interface_info_1, port);
    Remote::expect(interface.result, "port " + call.port_name());
    const auto &own = agent.node(rpc_node_line_1, port, vlan);
    const auto cvid = call.maybe("cvid");
    rpcNodeMac client{};
    if (const auto mac = mac_for(call.text("mac"))) std::ranges::copy(*mac, client.bytes);
    const rpcNodeLineIds &ids =
        agent.node(rpc_node_line_ids_1, port, vlan,
                   static_cast<std::uint16_t>(cvid.value_or(no_vlan)), client);
    Remote::expect(ids.result, what);

    const bool entry = has_vlan && own.present;
    const Winner mode = mode_of(interface.info, own, has_vlan);
    const Winner cid = format_of(entry ? own.cidFormat : nullptr, info.cidFormat);
    const Winner rid = format_of(entry ? own.ridFormat : nullptr, info.ridFormat);
    const bool custom = mode.value == "custom";
    return {{"port", port},
            {"vlan", has_vlan ? Json(vlan) : Json()},
            {"customer_vlan", cvid ? Json(*cvid) : Json()},
            {"notes", notes_of(call, info, interface.info, call.maybe("vlan"), ids.circuitId.text)},
            {"circuit_id", id_of(ids.circuitId, mode.value, mode.from, cid, custom)},
            {"remote_id", id_of(ids.remoteId, nullptr, "", rid, true)}};
}

namespace {

std::string notes_text(const Json &notes) {
    std::string text;
    for (const Json &note : notes) text += line("note", ink(Ink::yellow, shown(note)));
    return text;
}

}  // namespace

void print_preview(const Json &answer) {
    std::fputs((id_text("Circuit ID", answer.at("circuit_id")) +
                id_text("Remote ID", answer.at("remote_id")) + notes_text(answer.at("notes")))
                   .c_str(),
               stdout);
}

}  // namespace ia::ctl
