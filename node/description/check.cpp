#include "node/description/check.h"

#include "node/description/words.h"

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>

namespace ia::node {

namespace {

// Finds duplicate values in one pass.
template <class Value>
class Once {
public:
    Once(const char *what, Problems &problems) : what_(what), problems_(problems) {}

    // `line` 0: the value is absent or was refused, and is not recorded.
    void claim(const Value &value, unsigned line, const std::string &shown) {
        if (line == 0) return;
        const auto [first, is_new] = lines_.try_emplace(value, line);
        if (!is_new)
            problems_.add(line, std::string(what_) + ' ' + shown + " is already used on line " +
                                    std::to_string(first->second) + ", expected each once");
    }

private:
    const char *what_;
    Problems &problems_;
    std::unordered_map<Value, unsigned> lines_;
};

// Keys that only some interface types have.
struct OwnedKey {
    std::string_view key;
    std::initializer_list<InterfaceType> owners;
};

const OwnedKey owned_keys[] = {
    {"vpi", {InterfaceType::atm}}, {"vci", {InterfaceType::atm}},
    {"pvc", {InterfaceType::atm}}, {"onu", {InterfaceType::onu, InterfaceType::gem}},
    {"gem", {InterfaceType::gem}}, {"serial", {InterfaceType::onu}},
    {"mac", {InterfaceType::onu}}, {"in_use", {InterfaceType::gem}},
};

class Check {
public:
    Check(Sections &sections, Problems &problems)
        : sections_(sections), description_(sections.description), problems_(problems) {}

    void run() {
        bridges();
        index_interfaces();
        for (std::size_t i = 0; i < description_.interfaces.size(); ++i) {
            Interface &interface = description_.interfaces[i];
            const KeyLines &lines = sections_.interface_lines[i];
            if (const Bridge *bridge = place(interface, lines)) id_fits(interface, lines, *bridge);
            if (!lines.of("type")) continue;
            parent_fits(interface, lines);
            keys_fit_type(interface, lines);
        }
        vlans();
        port_vlans();
        bridge_ports();
        untagged_frames();
    }

private:
    void bridges() {
        if (description_.bridges.empty()) problems_.add(1, "no [[bridge]], expected at least one");
        for (std::size_t i = 0; i < description_.bridges.size(); ++i) {
            Bridge &bridge = description_.bridges[i];
            if (bridge.device.empty()) bridge.device = bridge.name;
            const unsigned line = sections_.bridge_lines[i].of("name");
            if (line)
                bridges_.emplace(bridge.name, &bridge);
            else
                every_bridge_known_ = false;
            if (i > 0)
                problems_.add(
                    bridge.line,
                    "this is a second [[bridge]], expected one: the agent manages exactly "
                    "one bridge");
            else if (line && bridge.name != managed_bridge)
                problems_.add(line, "[[bridge]] name is " + quoted(bridge.name) +
                                        ", expected \"br0\", the one bridge that the agent "
                                        "manages; for a Linux bridge of that name write device = " +
                                        quoted(bridge.name));
        }
    }

    void index_interfaces() {
        Once<std::uint32_t> ids("interface id", problems_);
        Once<std::string> names("interface name", problems_);
        Once<std::string> devices("device", problems_);
        for (std::size_t i = 0; i < description_.interfaces.size(); ++i) {
            const Interface &interface = description_.interfaces[i];
            const KeyLines &lines = sections_.interface_lines[i];
            ids.claim(interface.id, lines.of("id"), std::to_string(interface.id));
            names.claim(interface.name, lines.of("name"), quoted(interface.name));
            devices.claim(interface.device, lines.of("device"), quoted(interface.device));
            if (lines.of("id"))
                by_id_.emplace(interface.id, i);
            else
                every_id_known_ = false;
        }
    }

    // Assigns an interface or a VLAN to its bridge. Null when the bridge is
    // unknown.
    template <class Record>
    const Bridge *place(Record &record, const KeyLines &lines) {
        if (record.bridge.empty() && !description_.bridges.empty())
            record.bridge = description_.bridges.front().name;
        const auto found = bridges_.find(record.bridge);
        if (found != bridges_.end()) return found->second;
        if (const unsigned line = lines.of("bridge"); line && every_bridge_known_)
            problems_.add(line, "there is no bridge " + quoted(record.bridge) +
                                    ", expected the name of a [[bridge]]");
        return nullptr;
    }

    void id_fits(const Interface &interface, const KeyLines &lines, const Bridge &bridge) {
        if (lines.of("id") && interface.id >= bridge.ports)
            problems_.add(lines.of("id"), "interface id " + std::to_string(interface.id) +
                                              " is past the ports of bridge " +
                                              quoted(bridge.name) + ", expected 1 to " +
                                              std::to_string(bridge.ports - 1));
    }

    void parent_fits(const Interface &interface, const KeyLines &lines) {
        const unsigned line = lines.of("parent");
        if (!line) return;
        const auto expected = facts_of(interface.type).parent;
        const std::string what = "parent " + std::to_string(interface.parent) + " of " +
                                 quoted(facts_of(interface.type).word);
        if (!expected) return problems_.add(line, what + ", expected no parent for this type");
        const auto found = by_id_.find(interface.parent);
        if (found == by_id_.end()) {
            if (every_id_known_)
                problems_.add(line, what + " does not exist, expected the id of " +
                                        quoted(facts_of(*expected).word));
            return;
        }
        const Interface &parent = description_.interfaces[found->second];
        if (sections_.interface_lines[found->second].of("type") && parent.type != *expected)
            problems_.add(line, what + " is " + quoted(facts_of(parent.type).word) + ", expected " +
                                    quoted(facts_of(*expected).word));
    }

    void keys_fit_type(const Interface &interface, const KeyLines &lines) {
        for (const auto &[key, owners] : owned_keys) {
            const unsigned line = lines.of(key);
            if (!line || std::find(owners.begin(), owners.end(), interface.type) != owners.end())
                continue;
            std::vector<std::string_view> words;
            for (const InterfaceType owner : owners) words.push_back(facts_of(owner).word);
            problems_.add(line, std::string(key) + " on " + quoted(facts_of(interface.type).word) +
                                    ", expected only on " + any_of(words));
        }
        const unsigned vpi = lines.of("vpi");
        const unsigned vci = lines.of("vci");
        if ((vpi == 0) != (vci == 0))
            problems_.add(vpi + vci, std::string(vpi ? "vpi" : "vci") + " without " +
                                         (vpi ? "vci" : "vpi") + ", expected both or neither");
        if (const unsigned line = lines.of("circuit_id_mode");
            line && interface.settings.circuit_id_mode == PPPOEIA_CID_ATM &&
            interface.type != InterfaceType::atm)
            problems_.add(line, "circuit_id_mode \"atm\" on " +
                                    quoted(facts_of(interface.type).word) +
                                    ", expected only on \"atm\"");
        // The agent learns an ONU's equipment through its serial.
        if (interface.type == InterfaceType::onu && lines.of("mac") && interface.serial.empty())
            problems_.add(lines.of("mac"), "mac without serial, expected a serial beside it");
    }

    void vlans() {
        Once<std::string> ids("VLAN", problems_);
        for (std::size_t i = 0; i < description_.vlans.size(); ++i) {
            Vlan &vlan = description_.vlans[i];
            const KeyLines &lines = sections_.vlan_lines[i];
            if (!place(vlan, lines)) continue;
            const std::string shown = std::to_string(vlan.id) + " of bridge " + quoted(vlan.bridge);
            ids.claim(shown, lines.of("id"), shown);
        }
    }

    void port_vlans() {
        Once<std::string> lines_said("[[port_vlan]]", problems_);
        std::set<std::uint16_t> listed;
        for (const Vlan &vlan : description_.vlans) listed.insert(vlan.id);
        for (std::size_t i = 0; i < description_.port_vlans.size(); ++i) {
            const PortVlan &said = description_.port_vlans[i];
            const KeyLines &lines = sections_.port_vlan_lines[i];
            const unsigned port = lines.of("port"), vlan = lines.of("vlan");
            if (!port || !vlan) continue;
            const std::string shown =
                "port " + std::to_string(said.port) + ", VLAN " + std::to_string(said.vlan);
            lines_said.claim(shown, port, shown);
            if (every_id_known_ && !by_id_.contains(said.port))
                problems_.add(port, "there is no port " + std::to_string(said.port) +
                                        ", expected the id of an [[interface]]");
            if (!listed.contains(said.vlan))
                problems_.warn(vlan, "warning: VLAN " + std::to_string(said.vlan) +
                                         " is not listed: its frames pass unmarked; list a "
                                         "[[vlan]] with id = " +
                                         std::to_string(said.vlan));
        }
    }

    // Interfaces that others name as their parent may lack a device.
    void bridge_ports() {
        constexpr std::size_t most = 1023;
        std::set<std::uint32_t> parents;
        for (const Interface &interface : description_.interfaces) parents.insert(interface.parent);
        std::size_t ports = 0;
        for (const Interface &interface : description_.interfaces)
            if (facts_of(interface.type).stands_in_bridge && !parents.contains(interface.id) &&
                ++ports == most + 1)
                problems_.add(interface.line,
                              "this is port 1024 of the bridge, expected at most 1023: a Linux "
                              "bridge takes no more");
    }

    // A priority-tagged frame counts as untagged, whatever tag follows.
    void untagged_frames() {
        for (const Bridge &bridge : description_.bridges)
            if (bridge.settings.enabled.value_or(true) &&
                std::ranges::none_of(description_.vlans, [&](const Vlan &vlan) {
                    return vlan.id == 0 && vlan.bridge == bridge.name;
                }))
                problems_.warn(bridge.line,
                               "warning: VLAN 0 is not listed: frames of subscribers without a "
                               "tag, or with a priority tag, pass unmarked; list a [[vlan]] with "
                               "id = 0");
    }

    Sections &sections_;
    Description &description_;
    Problems &problems_;
    std::unordered_map<std::string, const Bridge *> bridges_;
    std::unordered_map<std::uint32_t, std::size_t> by_id_;  // index of the interface
    bool every_bridge_known_ = true;
    bool every_id_known_ = true;
};

}  // namespace

void check_description(Sections &sections, Problems &problems) {
    Check(sections, problems).run();
}

}  // namespace ia::node
