#include "management/agent_settings.h"

#include "entity/pppoeia.h"
#include "node/framework/registry.h"
#include "node/framework/settings.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/Log.h"
#include "pppoeia/client.h"

#include <concepts>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>

namespace ia {

namespace {

// --- one row a setting -----------------------------------------------------------------

// How a setting is read and how it is made. A reader says whether there is a value.
template <class Record, class Field, class Get, class Set>
struct SettingOperation {
    std::optional<Field> Record::*field;
    Get get;
    Set set;
};
template <class Record, class Field, class Get, class Set>
SettingOperation(std::optional<Field> Record::*, Get, Set)
    -> SettingOperation<Record, Field, Get, Set>;

// By a reader of the client API, which takes the bridge first and the value last.
template <auto Get>
struct Stored {
    template <class Field, class... Key>
    bool operator()(Field &field, Key... key) const {
        std::uint32_t number = 0;
        if (Get(default_bridge, key..., &number) != 0) return false;
        field = static_cast<Field>(number);
        return true;
    }
    template <class... Key>
    bool operator()(std::string &field, Key... key) const {
        char text[PPPOEIA_FORMAT_SIZE] = {};  // the longest of all texts
        static_assert(sizeof text >= PPPOEIA_SHELF_ID_SIZE &&
                      sizeof text >= PPPOEIA_REMOTE_ID_SIZE);
        if (Get(default_bridge, key..., text) != 0) return false;
        field = text;
        return true;
    }
};

// In the order in which they are made: an agent is set up before it works, a line has
// its formats before the mode that uses them.
template <class Record>
const std::tuple<> operations_of{};

template <>
const auto operations_of<node::AgentSettings> = [] {
    using S = node::AgentSettings;
    return std::tuple{
        SettingOperation{
            &S::log_level, [](auto &level) { return pppoeia_log_level_get(&level) == 0; },
            [](auto level) { return agent().setLogLevel(pppoeia::pppoeiaLoggingLevel(level)); }},
        SettingOperation{&S::vsa_mode, Stored<pppoeia_bridge_vsa_mode_get>(),
                         [](auto mode) { return agent().setVsaMode(pppoeia::vsaMode_t(mode)); }},
        SettingOperation{&S::insert_circuit_id, Stored<pppoeia_bridge_vsa_insert_circuit_id_get>(),
                         [](bool on) { return agent().setVsaCircuitIdState(on); }},
        SettingOperation{&S::insert_remote_id, Stored<pppoeia_bridge_vsa_insert_remote_id_get>(),
                         [](bool on) { return agent().setVsaRemoteIdState(on); }},
        SettingOperation{&S::circuit_id_cvlan, Stored<pppoeia_bridge_vsa_circuit_id_cvlan_get>(),
                         [](bool on) { return agent().setVsaCircuitIdCVlanState(on); }},
        SettingOperation{&S::shelf, Stored<pppoeia_bridge_shelf_id_get>(),
                         [](auto &shelf) { return agent().setShelfId(shelf); }},
        SettingOperation{&S::circuit_id_format, Stored<pppoeia_circuit_id_format_get>(),
                         [](auto &format) { return agent().setVsaCircuitIdFormat(format); }},
        SettingOperation{&S::remote_id_format, Stored<pppoeia_remote_id_format_get>(),
                         [](auto &format) { return agent().setVsaRemoteIdFormat(format); }},
        SettingOperation{&S::enabled, Stored<pppoeia_bridge_state_get>(),
                         [](bool on) { return agent().setState(on); }},
    };
}();

template <>
const auto operations_of<node::PortSettings> = [] {
    using S = node::PortSettings;
    return std::tuple{
        SettingOperation{&S::trust, Stored<pppoeia_port_trust_get>(),
                         [](auto trust, auto port) {
                             return agent().setInterfaceMode(port, pppoeia::interfaceMode_t(trust));
                         }},
        SettingOperation{
            &S::remote_id, Stored<pppoeia_port_remote_id_get>(),
            [](auto &text, auto port) { return agent().setInterfaceRemoteId(port, text); }},
        SettingOperation{&S::circuit_id_mode, Stored<pppoeia_port_vsa_circuit_id_mode_get>(),
                         [](auto mode, auto port) {
                             return agent().setVsaCircuitIdMode(port,
                                                                pppoeia::vsaCircuitIdMode_t(mode));
                         }},
        SettingOperation{&S::role, Stored<pppoeia_port_state_get>(),
                         [](auto role, auto port) {
                             return agent().setInterfaceState(port,
                                                              pppoeia::interfaceState_t(role));
                         }},
    };
}();

template <>
const auto operations_of<node::VlanSettings> = std::tuple{
    SettingOperation{&node::VlanSettings::enabled, Stored<pppoeia_bridge_vlan_get>(),
                     [](bool on, std::uint16_t vlan) { return agent().setVlanState(vlan, on); }}};

// Read from the store's entry.
template <>
const auto operations_of<node::LineSettings> = [] {
    using S = node::LineSettings;
    using Entry = pppoeia_port_vlan_info;
    const auto text_in = [](const char *stored, std::string &text) {
        text = stored;
        return !text.empty();
    };
    return std::tuple{
        SettingOperation{
            &S::circuit_id_format,
            [=](auto &format, const Entry *entry) { return text_in(entry->cid_format, format); },
            [](auto &format, auto port, auto vlan) {
                return agent().setVsaCircuitIdFormat(port, vlan, format);
            }},
        SettingOperation{
            &S::remote_id_format,
            [=](auto &format, const Entry *entry) { return text_in(entry->rid_format, format); },
            [](auto &format, auto port, auto vlan) {
                return agent().setVsaRemoteIdFormat(port, vlan, format);
            }},
        SettingOperation{&S::circuit_id_mode,
                         [](auto &mode, const Entry *entry) {
                             mode = entry->cid_mode;
                             return mode != PPPOEIA_CID_NOT_SET;
                         },
                         [](auto mode, auto port, auto vlan) {
                             return agent().setVsaCircuitIdMode(port, vlan,
                                                                pppoeia::vsaCircuitIdMode_t(mode));
                         }},
    };
}();

template <class Record, class Visit>
void each_operation(Visit visit) {
    using Operations = std::remove_cvref_t<decltype(operations_of<Record>)>;
    using Settings = std::remove_cvref_t<decltype(node::settings_of<Record>)>;
    static_assert(std::tuple_size_v<Operations> == std::tuple_size_v<Settings>,
                  "a setting is neither read nor made");
    std::apply([&](const auto &...operation) { (visit(operation), ...); }, operations_of<Record>);
}

// --- reading ---------------------------------------------------------------------------

template <class Record, class... Key>
Record running(Key... key) {
    Record record;
    each_operation<Record>([&](const auto &operation) {
        auto &field = record.*operation.field;
        if (!operation.get(field.emplace(), key...)) field.reset();
    });
    return record;
}

void read_lines(std::uint32_t port, node::Settings &settings) {
    pppoeia_port_vlan_info entry{};
    int result = pppoeia_port_vlan_get_first(default_bridge, port, &entry);
    for (; result == 0;
         result = pppoeia_port_vlan_get_next(default_bridge, port, entry.vlan_id, &entry))
        if (const node::LineSettings line = running<node::LineSettings>(&entry);
            line != node::LineSettings())
            settings.lines[{port, entry.vlan_id}] = line;
}

// --- making ----------------------------------------------------------------------------

void log_refused(const std::string &what) {
    Log::instance().setMsgLevel(0).write("pppoeia-mgmt: cannot set ").write(what).write("\n");
}

template <class Record, class Field>
std::string setting_name(std::optional<Field> Record::*field) {
    std::string name;
    node::each_setting<Record>([&](const auto &setting) {
        if constexpr (std::same_as<std::remove_cvref_t<decltype(setting.field)>, decltype(field)>)
            if (setting.field == field) name = setting.name;
    });
    return name;
}

// Makes each setting that is there, with the keys of what has it.
template <class Record, class... Key>
void make(const Record &record, const std::string &owner, Key... key) {
    each_operation<Record>([&](const auto &operation) {
        const auto &field = record.*operation.field;
        if (field && operation.set(*field, key...) != 0)
            log_refused(setting_name(operation.field) + " of " + owner);
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

}  // namespace

std::optional<node::Settings> running_settings() {
    const BLLManager::sharedLock_t lock;
    std::uint32_t state = 0;
    if (!lock.owns_lock() || pppoeia_bridge_state_get(default_bridge, &state) != 0)
        return std::nullopt;
    node::Settings settings;
    settings.agent = running<node::AgentSettings>();
    const node::NodeState node =
        node::registry().read([](const node::NodeState &is) { return is; });
    for (const auto &[id, interface] : node.interfaces) {
        const node::PortSettings port = running<node::PortSettings>(id);
        if (interface.bridge != default_bridge || !port.role) continue;
        settings.ports[id] = port;
        read_lines(id, settings);
    }
    for (const auto &[key, vlan] : node.vlans)
        if (key.first == default_bridge)
            settings.vlans[key.second] = running<node::VlanSettings>(key.second);
    return settings;
}

node::Settings running_part(SettingKey key) {
    node::Settings part;
    switch (key.kind) {
        case SettingKey::Kind::agent: part.agent = running<node::AgentSettings>(); break;
        case SettingKey::Kind::port:
            part.ports[key.port] = running<node::PortSettings>(key.port);
            break;
        case SettingKey::Kind::vlan:
            part.vlans[key.vlan] = running<node::VlanSettings>(key.vlan);
            break;
        case SettingKey::Kind::line: {
            pppoeia_port_vlan_info entry{};
            node::LineSettings &line = part.lines[{key.port, key.vlan}];
            if (pppoeia_port_vlan_info_get(default_bridge, key.port, key.vlan, &entry) == 0)
                line = running<node::LineSettings>(&entry);
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
    const auto port_named = [](std::uint32_t port) { return "port " + std::to_string(port); };
    for (const auto &[id, vlan] : settings.vlans) make(vlan, "VLAN " + std::to_string(id), id);
    for (const auto &[id, port] : settings.ports) make(port, port_named(id), id);
    for (const auto &[key, line] : settings.lines) {
        const auto &[port, vlan] = key;
        make(line, port_named(port) + ", VLAN " + std::to_string(vlan), port, vlan);
        if (!line.circuit_id_mode) describe_mode(key);
    }
    make(settings.agent, "the agent");
}

}  // namespace ia
