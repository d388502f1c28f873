#include "management/description_changes.h"

#include <map>
#include <tuple>
#include <utility>

namespace ia {

namespace {

using node::Bridge, node::Description, node::Interface, node::PortVlan, node::Vlan;

// A field and its key in the file.
template <class Record, class Value>
using Field = std::pair<const char *, Value Record::*>;

template <class Record, class Value>
constexpr Field<Record, Value> field(const char *key, Value Record::*member) {
    return {key, member};
}

// A record's own fields; the settings have their own table.
template <class Record>
inline constexpr std::tuple<> fields_of{};

template <>
inline constexpr auto fields_of<Description> = std::tuple{
    field("[node] board", &Description::board),
    field("[node] shelf", &Description::shelf),
    field("[node] name", &Description::name),
    field("[node] contact", &Description::contact),
    field("[node] location", &Description::location),
    field("[node] management", &Description::management_device),
    field("[node] profile_mode", &Description::profile_mode),
    field("[rpc] reserved_port", &Description::rpc_reserved_port),
    field("[settings] file", &Description::settings_file),
    field("[settings] auto", &Description::settings_auto),
    field("[metrics] textfile", &Description::metrics_file),
    field("[metrics] interval", &Description::metrics_interval),
};

template <>
inline constexpr auto fields_of<Bridge> = std::tuple{
    field("device", &Bridge::device),
    field("ports", &Bridge::ports),
    field("stag_ethertype", &Bridge::stag_ethertype),
    field("max_pdu", &Bridge::max_pdu),
};

template <>
inline constexpr auto fields_of<Interface> = std::tuple{
    field("name", &Interface::name),         field("type", &Interface::type),
    field("device", &Interface::device),     field("bridge", &Interface::bridge),
    field("parent", &Interface::parent),     field("panel", &Interface::panel),
    field("port", &Interface::port),         field("onu", &Interface::onu),
    field("gem", &Interface::gem),           field("pvc", &Interface::pvc),
    field("vpi", &Interface::vpi),           field("vci", &Interface::vci),
    field("serial", &Interface::serial),     field("mac", &Interface::mac),
    field("in_use", &Interface::gem_in_use), field("description", &Interface::description),
};

template <>
inline constexpr auto fields_of<Vlan> = std::make_tuple(field("name", &Vlan::name));

// The fields that identify a record.
std::string name_of(const Bridge &bridge) {
    return "bridge " + bridge.name;
}

std::string name_of(const Interface &port) {
    return "port " + std::to_string(port.id);
}

std::string name_of(const Vlan &vlan) {
    return "VLAN " + std::to_string(vlan.id) + " of " + vlan.bridge;
}

std::string name_of(const PortVlan &said) {
    return "VLAN " + std::to_string(said.vlan) + " of port " + std::to_string(said.port);
}

template <class Record>
std::string label_of(const Record &record) {
    if constexpr (std::is_same_v<Record, Interface>)
        return name_of(record) + " (" + record.name + ", " + record.device + ")";
    else
        return name_of(record);
}

// The keys whose values differ, separated by commas.
template <class Record>
std::string changed_keys(const Record &was, const Record &now) {
    std::string keys;
    const auto compare = [&](std::string_view key, const auto &before, const auto &after) {
        if (before != after) keys += (keys.empty() ? "" : ", ") + std::string(key);
    };
    std::apply(
        [&](const auto &...each) {
            (compare(each.first, was.*each.second, now.*each.second), ...);
        },
        fields_of<Record>);
    if constexpr (requires { was.settings; })
        node::each_setting<std::remove_cvref_t<decltype(was.settings)>>([&](const auto &setting) {
            compare(setting.name, was.settings.*setting.field, now.settings.*setting.field);
        });
    return keys;
}

template <class Record>
void compare(const std::vector<Record> &was, const std::vector<Record> &now,
             std::vector<std::string> &lines) {
    std::map<std::string, const Record *> before;
    for (const Record &record : was) before[name_of(record)] = &record;
    for (const Record &record : now) {
        const auto there = before.extract(name_of(record));
        if (there.empty()) {
            lines.push_back(label_of(record) + " joins");
        } else if (const std::string keys = changed_keys(*there.mapped(), record); !keys.empty()) {
            lines.push_back(label_of(record) + " changes: " + keys);
        }
    }
    for (const Record &record : was)
        if (before.contains(name_of(record))) lines.push_back(label_of(record) + " leaves");
}

}  // namespace

std::vector<std::string> describe_changes(const Description &was, const Description &now) {
    std::vector<std::string> lines;
    if (const std::string keys = changed_keys(was, now); !keys.empty())
        lines.push_back("the node changes: " + keys);
    compare(was.bridges, now.bridges, lines);
    compare(was.vlans, now.vlans, lines);
    compare(was.interfaces, now.interfaces, lines);
    compare(was.port_vlans, now.port_vlans, lines);
    return lines;
}

}  // namespace ia
