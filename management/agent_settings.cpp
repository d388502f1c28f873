#include "management/agent_settings.h"

#include "entity/pppoeia.h"
#include "node/framework/registry.h"
#include "node/framework/settings.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/Log.h"
#include "pppoeia/client.h"

#include <string>

namespace ia {

namespace {

// --- reading ---------------------------------------------------------------------------

template <class Stored, class Field, class Get, class... Key>
void read(std::optional<Field> &field, Get get, Key... key) {
    Stored stored{};
    if (get(key..., &stored) == 0) field = static_cast<Field>(stored);
}

template <std::size_t Size, class Get, class... Key>
void read_text(std::optional<std::string> &field, Get get, Key... key) {
    char stored[Size] = {};
    if (get(key..., stored) == 0) field = stored;
}

node::AgentSettings running_agent() {
    node::AgentSettings agent;
    read<std::uint32_t>(agent.enabled, pppoeia_bridge_state_get, default_bridge);
    read<std::uint32_t>(agent.vsa_mode, pppoeia_bridge_vsa_mode_get, default_bridge);
    read<std::uint32_t>(agent.insert_circuit_id, pppoeia_bridge_vsa_insert_circuit_id_get,
                        default_bridge);
    read<std::uint32_t>(agent.insert_remote_id, pppoeia_bridge_vsa_insert_remote_id_get,
                        default_bridge);
    read<std::uint32_t>(agent.circuit_id_cvlan, pppoeia_bridge_vsa_circuit_id_cvlan_get,
                        default_bridge);
    read_text<PPPOEIA_SHELF_ID_SIZE>(agent.shelf, pppoeia_bridge_shelf_id_get, default_bridge);
    read_text<PPPOEIA_FORMAT_SIZE>(agent.circuit_id_format, pppoeia_circuit_id_format_get,
                                   default_bridge);
    read_text<PPPOEIA_FORMAT_SIZE>(agent.remote_id_format, pppoeia_remote_id_format_get,
                                   default_bridge);
    read<std::int32_t>(agent.log_level, pppoeia_log_level_get);
    return agent;
}

node::PortSettings running_port(std::uint32_t id) {
    node::PortSettings port;
    read<std::uint32_t>(port.role, pppoeia_port_state_get, default_bridge, id);
    read<std::uint32_t>(port.trust, pppoeia_port_trust_get, default_bridge, id);
    read_text<PPPOEIA_REMOTE_ID_SIZE>(port.remote_id, pppoeia_port_remote_id_get, default_bridge,
                                      id);
    read<std::uint32_t>(port.circuit_id_mode, pppoeia_port_vsa_circuit_id_mode_get, default_bridge,
                        id);
    return port;
}

node::LineSettings line_of(const pppoeia_port_vlan_info &entry) {
    node::LineSettings line;
    if (entry.cid_mode != PPPOEIA_CID_NOT_SET) line.circuit_id_mode = entry.cid_mode;
    if (entry.cid_format[0]) line.circuit_id_format = entry.cid_format;
    if (entry.rid_format[0]) line.remote_id_format = entry.rid_format;
    return line;
}

void read_lines(std::uint32_t port, node::Settings &settings) {
    pppoeia_port_vlan_info entry{};
    int result = pppoeia_port_vlan_get_first(default_bridge, port, &entry);
    for (; result == 0;
         result = pppoeia_port_vlan_get_next(default_bridge, port, entry.vlan_id, &entry))
        if (const node::LineSettings line = line_of(entry); line != node::LineSettings())
            settings.lines[{port, entry.vlan_id}] = line;
}

// --- making ----------------------------------------------------------------------------

void log_refused(const std::string &what) {
    Log::instance().setMsgLevel(0).write("pppoeia-mgmt: cannot set ").write(what).write("\n");
}

// Calls the operation if the setting is present.
template <class Field, class Set>
void make(const std::optional<Field> &field, const std::string &what, Set set) {
    if (field && set(*field) != 0) log_refused(what);
}

void apply_agent(const node::AgentSettings &settings) {
    const std::string of = " of the agent";
    make(settings.log_level, "log_level" + of,
         [](auto level) { return agent().setLogLevel(pppoeia::pppoeiaLoggingLevel(level)); });
    make(settings.vsa_mode, "vsa_mode" + of,
         [](auto mode) { return agent().setVsaMode(pppoeia::vsaMode_t(mode)); });
    make(settings.insert_circuit_id, "insert_circuit_id" + of,
         [](bool on) { return agent().setVsaCircuitIdState(on); });
    make(settings.insert_remote_id, "insert_remote_id" + of,
         [](bool on) { return agent().setVsaRemoteIdState(on); });
    make(settings.circuit_id_cvlan, "circuit_id_cvlan" + of,
         [](bool on) { return agent().setVsaCircuitIdCVlanState(on); });
    make(settings.shelf, "shelf" + of, [](auto &shelf) { return agent().setShelfId(shelf); });
    make(settings.circuit_id_format, "circuit_id_format" + of,
         [](auto &format) { return agent().setVsaCircuitIdFormat(format); });
    make(settings.remote_id_format, "remote_id_format" + of,
         [](auto &format) { return agent().setVsaRemoteIdFormat(format); });
    make(settings.enabled, "enabled" + of, [](bool on) { return agent().setState(on); });
}

void apply_port(std::uint32_t id, const node::PortSettings &port) {
    const std::string of = " of port " + std::to_string(id);
    make(port.trust, "trust" + of, [id](auto trust) {
        return agent().setInterfaceMode(id, pppoeia::interfaceMode_t(trust));
    });
    make(port.remote_id, "remote_id" + of,
         [id](auto &text) { return agent().setInterfaceRemoteId(id, text); });
    make(port.circuit_id_mode, "circuit_id_mode" + of, [id](auto mode) {
        return agent().setVsaCircuitIdMode(id, pppoeia::vsaCircuitIdMode_t(mode));
    });
    make(port.role, "role" + of, [id](auto role) {
        return agent().setInterfaceState(id, pppoeia::interfaceState_t(role));
    });
}

// A line needs a mode, else it has no Circuit ID: if an operator removed the mode,
// the next described format restores the described mode.
void describe_mode(node::LineKey key) {
    const SettingKey line{SettingKey::Kind::line, key.first, key.second};
    const auto mode_in = [&](const node::Settings &part) {
        return *part.lines.at(key).circuit_id_mode;
    };
    const std::uint32_t described = mode_in(described_part(line));
    if (described == PPPOEIA_CID_NOT_SET || mode_in(running_part(line)) != PPPOEIA_CID_NOT_SET)
        return;
    if (agent().setVsaCircuitIdMode(key.first, key.second,
                                    pppoeia::vsaCircuitIdMode_t(described)) != 0)
        log_refused("the Circuit-ID mode of port " + std::to_string(key.first));
}

void apply_line(node::LineKey key, const node::LineSettings &line) {
    const auto &[port, vlan] = key;
    const std::string of = " of port " + std::to_string(port) + ", VLAN " + std::to_string(vlan);
    make(line.circuit_id_format, "circuit_id_format" + of, [&](auto &format) {
        return agent().setVsaCircuitIdFormat(key.first, key.second, format);
    });
    make(line.remote_id_format, "remote_id_format" + of,
         [&](auto &format) { return agent().setVsaRemoteIdFormat(key.first, key.second, format); });
    make(line.circuit_id_mode, "circuit_id_mode" + of, [&](auto mode) {
        return agent().setVsaCircuitIdMode(key.first, key.second,
                                           pppoeia::vsaCircuitIdMode_t(mode));
    });
    if (!line.circuit_id_mode) describe_mode(key);
}

}  // namespace

std::optional<node::Settings> running_settings() {
    const BLLManager::sharedLock_t lock;
    std::uint32_t state = 0;
    if (!lock.owns_lock() || pppoeia_bridge_state_get(default_bridge, &state) != 0)
        return std::nullopt;
    node::Settings settings;
    settings.agent = running_agent();
    const node::NodeState node =
        node::registry().read([](const node::NodeState &is) { return is; });
    for (const auto &[id, interface] : node.interfaces) {
        const node::PortSettings port = running_port(id);
        if (interface.bridge != default_bridge || !port.role) continue;
        settings.ports[id] = port;
        read_lines(id, settings);
    }
    for (const auto &[key, vlan] : node.vlans)
        if (key.first == default_bridge)
            read<std::uint32_t>(settings.vlans[key.second].enabled, pppoeia_bridge_vlan_get,
                                default_bridge, key.second);
    return settings;
}

node::Settings running_part(SettingKey key) {
    node::Settings part;
    switch (key.kind) {
        case SettingKey::Kind::agent: part.agent = running_agent(); break;
        case SettingKey::Kind::port: part.ports[key.port] = running_port(key.port); break;
        case SettingKey::Kind::vlan:
            read<std::uint32_t>(part.vlans[key.vlan].enabled, pppoeia_bridge_vlan_get,
                                default_bridge, key.vlan);
            break;
        case SettingKey::Kind::line: {
            pppoeia_port_vlan_info entry{};
            node::LineSettings &line = part.lines[{key.port, key.vlan}];
            if (pppoeia_port_vlan_info_get(default_bridge, key.port, key.vlan, &entry) == 0)
                line = line_of(entry);
            line = node::whole(line);
            break;
        }
    }
    return part;
}

// A node that has only the key's object.
node::Settings described_part(SettingKey key) {
    const node::NodeState one = node::registry().read([&](const node::NodeState &is) {
        node::NodeState part;
        part.facts = is.facts;
        part.bridges = is.bridges;
        if (const node::Interface *port = is.interface(key.port)) part.interfaces[key.port] = *port;
        const node::VlanKey vlan{default_bridge, key.vlan};
        if (const auto found = is.vlans.find(vlan); found != is.vlans.end())
            part.vlans.insert(*found);
        return part;
    });
    node::Settings part = described_settings(one);
    node::LineSettings &line = part.lines[{key.port, key.vlan}];
    line = node::whole(line);
    return part;
}

void repair_part(SettingKey key) {
    if (key.kind != SettingKey::Kind::line) return apply_settings(running_part(key));
    // Includes settings missing in the store: they are cleared in the engine, the
    // mode last.
    pppoeia_port_vlan_info entry{};
    entry.cid_mode = PPPOEIA_CID_NOT_SET;
    pppoeia_port_vlan_info_get(default_bridge, key.port, key.vlan, &entry);
    pppoeia_circuit_id_format_port_vlan_set(default_bridge, key.port, key.vlan, entry.cid_format);
    pppoeia_remote_id_format_port_vlan_set(default_bridge, key.port, key.vlan, entry.rid_format);
    pppoeia_circuit_id_mode_port_vlan_set(default_bridge, key.port, key.vlan, entry.cid_mode);
}

void apply_settings(const node::Settings &settings) {
    for (const auto &[id, vlan] : settings.vlans)
        make(vlan.enabled, "enabled of VLAN " + std::to_string(id),
             [vid = id](bool on) { return agent().setVlanState(vid, on); });
    for (const auto &[id, port] : settings.ports) apply_port(id, port);
    for (const auto &[key, line] : settings.lines) apply_line(key, line);
    apply_agent(settings.agent);
}

}  // namespace ia
