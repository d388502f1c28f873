#include "ctl/settings.h"

#include "ctl/screen.h"
#include "node/settings/settings_text.h"

#include <cstdio>

namespace ia::ctl {

namespace {

node::Settings settings_said(Call &call, rpcNodeText *(*function)(CLIENT *)) {
    const rpcNodeText &reply = call.agent().node(function);
    Remote::expect(reply.result, "the settings");
    return node::read_settings(reply.text, "settings").settings;
}

template <class Map, class Key>
const typename Map::mapped_type &found(Call &call, const Map &map, const Key &key) {
    const auto record = map.find(key);
    if (record == map.end()) throw Refused(subject_of(call) + ": it is not there");
    return record->second;
}

}  // namespace

node::Settings settings_in_force(Call &call) {
    return settings_said(call, rpc_node_config_show_1);
}

node::Settings described_settings(Call &call) {
    return settings_said(call, rpc_node_config_described_1);
}

std::string setting_line(const char *label, const char *key, const Json &settings) {
    const Json &described = settings.at("described");
    if (!described.contains(key)) return field(label, settings.at(key));
    return line(label, shown(settings.at(key)) +
                           ink(Ink::yellow, " (described: " + shown(described.at(key)) + ")"));
}

const node::AgentSettings &record_for(Call &, const node::Settings &all,
                                      const node::AgentSettings *) {
    return all.agent;
}

const node::PortSettings &record_for(Call &call, const node::Settings &all,
                                     const node::PortSettings *) {
    return found(call, all.ports, call.number("port"));
}

const node::VlanSettings &record_for(Call &call, const node::Settings &all,
                                     const node::VlanSettings *) {
    return found(call, all.vlans, static_cast<std::uint16_t>(call.number("vlan")));
}

// Settings of a line that the description lacks count as not set.
node::LineSettings record_for(Call &call, const node::Settings &all, const node::LineSettings *) {
    const auto line =
        all.lines.find({call.number("port"), static_cast<std::uint16_t>(call.number("vlan"))});
    return node::whole(line == all.lines.end() ? node::LineSettings() : line->second);
}

Json unset_line(Call &call) {
    const node::Settings described = described_settings(call);
    return for_each_port(call, [&] {
        const std::uint32_t port = call.number("port");
        const auto vlan = static_cast<std::uint16_t>(call.number("vlan"));
        const std::string what = subject_of(call);
        if (!described.lines.contains({port, vlan}))
            return call.agent().change(what, rpc_node_clear_line_1, port, vlan);
        node::LineSettings line =
            record_for(call, described, static_cast<const node::LineSettings *>(nullptr));
        call.agent().change(what, rpc_node_set_line_cid_format_1, port, vlan,
                            line.circuit_id_format->data());
        call.agent().change(what, rpc_node_set_line_rid_format_1, port, vlan,
                            line.remote_id_format->data());
        call.agent().change(what, rpc_pppoeia_set_intf_vlan_circuit_id_mode_1, port, vlan,
                            static_cast<rpcPppoeiaCircuitIdMode>(*line.circuit_id_mode));
    });
}

void print_unset(const Json &answer) {
    if (answer.contains("ports"))
        std::printf("as described for %zu ports\n", answer.at("ports").size());
    else if (answer.contains("described"))
        std::printf("as described: %s\n", shown(answer.at("described")).c_str());
    else
        std::puts("as described");
}

}  // namespace ia::ctl
