#include "management/description_changes.h"

#include <map>
#include <tuple>
#include <utility>

namespace ia {

namespace {

using node::Bridge, node::Description, node::Interface, node::Vlan;

// A field and its key in the file.
template <class Record, class Value>
using Field = std::pair<const char *, Value Record::*>;

template <class Record, class Value>
constexpr Field<Record, Value> field(const char *key, Value Record::*member) {
    return {key, member};
}

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
    field("vsa_mode", &Bridge::vsa_mode),
    field("enabled", &Bridge::enabled),
};

template <>
inline constexpr auto fields_of<Interface> = std::tuple{
    field("name", &Interface::name),
    field("type", &Interface::type),
    field("device", &Interface::device),
    field("bridge", &Interface::bridge),
    field("parent", &Interface::parent),
    field("panel", &Interface::panel),
    field("port", &Interface::port),
    field("onu", &Interface::onu),
    field("gem", &Interface::gem),
    field("pvc", &Interface::pvc),
    field("vpi", &Interface::vpi),
    field("vci", &Interface::vci),
    field("role", &Interface::role),
    field("trust", &Interface::trust),
    field("serial", &Interface::serial),
    field("mac", &Interface::mac),
    field("in_use", &Interface::gem_in_use),
    field("remote_id", &Interface::remote_id),
    field("description", &Interface::description),
};

template <>
inline constexpr auto fields_of<Vlan> =
    std::tuple{field("name", &Vlan::name), field("enabled", &Vlan::enabled)};

// The keys whose values differ, separated by commas.
template <class Record>
std::string changed_keys(const Record &was, const Record &now) {
    std::string keys;
    const auto compare = [&](const auto &one) {
        if (was.*one.second == now.*one.second) return;
        keys += (keys.empty() ? "" : ", ") + std::string(one.first);
    };
    std::apply([&](const auto &...each) { (compare(each), ...); }, fields_of<Record>);
    return keys;
}

std::string label(const Bridge &bridge) {
    return "bridge " + bridge.name;
}

std::string label(const Interface &port) {
    return "port " + std::to_string(port.id) + " (" + port.name + ", " + port.device + ")";
}

std::string label(const Vlan &vlan) {
    return "VLAN " + std::to_string(vlan.id) + " of " + vlan.bridge;
}

const std::string &key_of(const Bridge &bridge) {
    return bridge.name;
}

std::uint32_t key_of(const Interface &port) {
    return port.id;
}

std::pair<std::string, std::uint16_t> key_of(const Vlan &vlan) {
    return {vlan.bridge, vlan.id};
}

template <class Record>
void compare(const std::vector<Record> &was, const std::vector<Record> &now,
             std::vector<std::string> &lines) {
    using Key = std::decay_t<decltype(key_of(was.front()))>;
    std::map<Key, const Record *> before;
    for (const Record &record : was) before[key_of(record)] = &record;
    for (const Record &record : now) {
        const auto there = before.extract(key_of(record));
        if (there.empty()) {
            lines.push_back(label(record) + " joins");
        } else if (const std::string keys = changed_keys(*there.mapped(), record); !keys.empty()) {
            lines.push_back(label(record) + " changes: " + keys);
        }
    }
    for (const auto &[key, record] : before) lines.push_back(label(*record) + " leaves");
}

}  // namespace

std::vector<std::string> describe_changes(const Description &was, const Description &now) {
    std::vector<std::string> lines;
    if (const std::string keys = changed_keys(was, now); !keys.empty())
        lines.push_back("the node changes: " + keys);
    compare(was.bridges, now.bridges, lines);
    compare(was.vlans, now.vlans, lines);
    compare(was.interfaces, now.interfaces, lines);
    return lines;
}

}  // namespace ia
