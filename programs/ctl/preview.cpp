// Both IDs of a line as they are now, and which setting made them.
#include "idgen/explain.h"
#include "pppoeia/records.h"
#include "programs/ctl/answers.h"
#include "programs/ctl/screen.h"

#include <algorithm>
#include <cstdio>

namespace ia::ctl {

namespace {

// A setting and where it was made.
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

bool is_binary(const Json &format) {
    if (format.is_null()) return false;
    const auto report = explain_format(format.get<std::string>(),
                                       [](customIdFormat) { return std::optional<std::string>(); });
    return std::ranges::any_of(
        report.notes, [](const FormatNote &note) { return note.warning == FormatWarning::binary; });
}

// The generators answer with the text form; a binary ID is sent otherwise.
Json id_of(const std::string &text, const Json &mode, const std::string &mode_from,
           const Winner &format, bool custom) {
    const bool binary = custom && is_binary(format.value);
    return {{"text", text},
            {"hex", binary ? Json() : Json(hex_of(text))},
            {"binary", binary},
            {"length", binary ? Json() : Json(text.size())},
            {"mode", mode},
            {"mode_from", mode.is_null() ? Json() : Json(mode_from)},
            {"format", custom ? format.value : Json()},
            {"format_from", custom ? Json(format.from) : Json()}};
}

std::string id_text(const char *name, const Json &id) {
    std::string out = line(name, '\'' + printable(id.at("text").get<std::string>()) + '\'');
    if (id.at("binary").get<bool>())
        out += line("", "binary: 'pppoeiactl format check' shows its bytes");
    else
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

Json preview(Call &call) {
    const std::uint32_t port = call.number("port");
    const auto vlan = static_cast<std::uint16_t>(call.maybe("vlan").value_or(no_vlan));
    const bool has_vlan = vlan != no_vlan;
    const std::string what = "port " + call.text("port") + ", VLAN " + std::to_string(vlan);
    Remote &agent = call.agent();
    const auto &info = agent.call(rpc_pppoeia_get_info_1);
    Remote::expect(info.result, "the settings");
    const auto &interface = agent.call(rpc_pppoeia_get_interface_info_1, port);
    Remote::expect(interface.result, "port " + call.text("port"));
    const auto &own = agent.node(rpc_node_line_1, port, vlan);
    const auto &circuit = agent.call(rpc_pppoeia_get_circuit_id_gen_1, port, vlan);
    Remote::expect(circuit.result, what);
    const auto &remote = agent.call(rpc_pppoeia_get_remote_id_gen_1, port, vlan);
    Remote::expect(remote.result, what);

    const bool entry = has_vlan && own.present;
    const Winner mode = mode_of(interface.info, own, has_vlan);
    const Winner cid = format_of(entry ? own.cidFormat : nullptr, info.cidFormat);
    const Winner rid = format_of(entry ? own.ridFormat : nullptr, info.ridFormat);
    return {
        {"port", port},
        {"vlan", has_vlan ? Json(vlan) : Json()},
        {"circuit_id", id_of(circuit.subopt, mode.value, mode.from, cid, mode.value == "custom")},
        {"remote_id", id_of(remote.subopt, nullptr, "", rid, true)}};
}

void print_preview(const Json &answer) {
    std::fputs((id_text("Circuit ID", answer.at("circuit_id")) +
                id_text("Remote ID", answer.at("remote_id")))
                   .c_str(),
               stdout);
}

}  // namespace ia::ctl
