#include "node/framework/settings.h"

#include "pppoeia/records.h"

namespace ia::node {
namespace {

constexpr std::uint32_t created_max_pdu = 1500;

std::pair<std::uint32_t, std::uint32_t> pvc_of(const Interface &interface) {
    return {interface.vpi.value_or(0), interface.vci.value_or(0)};
}

// What is said, over what everything is created with.
AgentSettings of_bridge(const Bridge &bridge) {
    AgentSettings made = overlay(created<AgentSettings>(), bridge.settings);
    made.shelf.reset();  // the node's, not the bridge's
    return made;
}

PortSettings of_port(const Interface &interface) {
    const TypeFacts &facts = facts_of(interface.type);
    PortSettings made = created<PortSettings>();
    made.role = facts.role;
    made.trust = facts.trust;
    return overlay(made, interface.settings);
}

VlanSettings of_vlan(const Vlan &vlan) {
    return overlay(created<VlanSettings>(), vlan.settings);
}

// A line without a mode of its own has no Circuit ID.
LineSettings of_line(const Interface &interface, LineSettings line) {
    if (line.circuit_id_format || line.remote_id_format)
        if (!line.circuit_id_mode) line.circuit_id_mode = of_port(interface).circuit_id_mode;
    return line;
}

void add_lines(const Interface &interface, Settings &settings) {
    for (const auto &[vlan, line] : interface.lines)
        settings.lines[{interface.id, vlan}] = of_line(interface, line);
}

// A port's settings, and those of the lines that one of two records of it has.
Settings with_lines(const Interface &interface, const Interface &other) {
    Settings settings;
    settings.ports[interface.id] = of_port(interface);
    add_lines(interface, settings);
    for (const auto &[vlan, line] : other.lines) settings.lines[{interface.id, vlan}];
    for (auto &[key, line] : settings.lines) line = whole(line);
    return settings;
}

void tell_difference(const Settings &was, const Settings &now, EntityCalls &calls) {
    const Settings changed = difference(now, was);
    if (changed != Settings()) calls.make(changed);
}

}  // namespace

Settings described_settings(const NodeState &node) {
    Settings settings;
    const Bridge *const bridge = node.bridge(managed_bridge);
    settings.agent = of_bridge(bridge ? *bridge : Bridge());
    settings.agent.shelf =
        node.facts.shelf.empty() ? created<AgentSettings>().shelf : node.facts.shelf;
    for (const auto &[id, interface] : node.interfaces) {
        if (interface.bridge != managed_bridge) continue;
        settings.ports[id] = of_port(interface);
        add_lines(interface, settings);
    }
    for (const auto &[key, vlan] : node.vlans)
        if (key.first == managed_bridge) settings.vlans[key.second] = of_vlan(vlan);
    return settings;
}

Bridge without_settings(const Bridge &bridge) {
    Bridge fresh = bridge;
    fresh.max_pdu = created_max_pdu;
    fresh.settings = {.enabled = false};
    return fresh;
}

Vlan without_settings(const Vlan &vlan) {
    Vlan fresh = vlan;
    fresh.name.clear();
    fresh.settings = {.enabled = false};
    return fresh;
}

Interface without_settings(const Interface &interface) {
    Interface fresh = interface;
    fresh.vpi.reset();
    fresh.vci.reset();
    fresh.description.clear();
    fresh.serial.clear();
    fresh.mac.reset();
    fresh.gem_in_use = false;
    fresh.settings = {};
    fresh.lines.clear();
    return fresh;
}

void tell_settings(const Description &was, const Description &now, EntityCalls &calls) {
    if (was.contact != now.contact) calls.setSystemContact(now.contact);
    if (was.location != now.location) calls.setSystemLocation(now.location);
    if (was.name != now.name) calls.setSystemName(now.name);
}

void tell_settings(const Bridge &was, const Bridge &now, EntityCalls &calls) {
    if (was.max_pdu != now.max_pdu) calls.maxPduSet(now.name, now.max_pdu);
    if (now.name != managed_bridge) return;
    tell_difference({.agent = of_bridge(was)}, {.agent = of_bridge(now)}, calls);
}

void tell_settings(const Vlan &was, const Vlan &now, EntityCalls &calls) {
    if (now.bridge != managed_bridge) return;
    if (was.name != now.name) calls.setVlanName(now.id, now.name);
    tell_difference({.vlans = {{now.id, of_vlan(was)}}}, {.vlans = {{now.id, of_vlan(now)}}},
                    calls);
}

void tell_settings(const Interface &was, const Interface &now, EntityCalls &calls) {
    if (now.bridge != managed_bridge) return;
    if (was.description != now.description) calls.setIntfDescr(now.id, now.description);
    if (const auto pvc = pvc_of(now); pvc_of(was) != pvc)
        calls.notifyPvcChange(now.id, pvc.first, pvc.second);
    tell_difference(with_lines(was, now), with_lines(now, was), calls);
}

}  // namespace ia::node
