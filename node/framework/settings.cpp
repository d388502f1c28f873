#include "node/framework/settings.h"

#include "pppoeia/records.h"

namespace ia::node {
namespace {

constexpr std::uint32_t created_max_pdu = 1500;
constexpr char created_shelf[] = "NONE";
constexpr char created_remote_id_format[] = "$PORT_REM_ID";
constexpr std::int32_t created_log_level = 6;  // of a process that starts

std::uint32_t role_of(const Interface &interface) {
    return interface.role.value_or(facts_of(interface.type).role);
}

std::uint32_t trust_of(const Interface &interface) {
    return interface.trust.value_or(facts_of(interface.type).trust);
}

std::pair<std::uint32_t, std::uint32_t> pvc_of(const Interface &interface) {
    return {interface.vpi.value_or(0), interface.vci.value_or(0)};
}

}  // namespace

Settings described_settings(const NodeState &node) {
    Settings settings;
    AgentSettings &agent = settings.agent;
    if (const Bridge *bridge = node.bridge(managed_bridge)) {
        agent.enabled = bridge->enabled;
        agent.vsa_mode = bridge->vsa_mode;
    }
    agent.insert_circuit_id = agent.insert_remote_id = true;
    agent.circuit_id_cvlan = false;
    agent.shelf = node.facts.shelf.empty() ? created_shelf : node.facts.shelf;
    agent.circuit_id_format = "";
    agent.remote_id_format = created_remote_id_format;
    agent.log_level = created_log_level;
    for (const auto &[id, interface] : node.interfaces)
        if (interface.bridge == managed_bridge)
            settings.ports[id] = {role_of(interface), trust_of(interface), interface.remote_id,
                                  PPPOEIA_CID_DEFAULT};
    for (const auto &[key, vlan] : node.vlans)
        if (key.first == managed_bridge) settings.vlans[key.second].enabled = vlan.enabled;
    return settings;
}

Bridge without_settings(const Bridge &bridge) {
    Bridge fresh = bridge;
    fresh.max_pdu = created_max_pdu;
    fresh.vsa_mode = PPPOEIA_VSA_REMOVE;
    fresh.enabled = false;
    return fresh;
}

Vlan without_settings(const Vlan &vlan) {
    Vlan fresh = vlan;
    fresh.name.clear();
    fresh.enabled = false;
    return fresh;
}

Interface without_settings(const Interface &interface) {
    Interface fresh = interface;
    fresh.vpi.reset();
    fresh.vci.reset();
    fresh.description.clear();
    fresh.remote_id.clear();
    fresh.serial.clear();
    fresh.mac.reset();
    fresh.gem_in_use = false;
    fresh.role.reset();
    fresh.trust.reset();
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
    if (was.vsa_mode != now.vsa_mode) calls.setVsaMode(now.vsa_mode);
    if (was.enabled != now.enabled) calls.setState(now.enabled);
}

void tell_settings(const Vlan &was, const Vlan &now, EntityCalls &calls) {
    if (now.bridge != managed_bridge) return;
    if (was.name != now.name) calls.setVlanName(now.id, now.name);
    if (was.enabled != now.enabled) calls.setVlanState(now.id, now.enabled);
}

void tell_settings(const Interface &was, const Interface &now, EntityCalls &calls) {
    if (now.bridge != managed_bridge) return;
    if (was.description != now.description) calls.setIntfDescr(now.id, now.description);
    if (const auto pvc = pvc_of(now); pvc_of(was) != pvc)
        calls.notifyPvcChange(now.id, pvc.first, pvc.second);
    if (role_of(was) != role_of(now)) calls.setInterfaceState(now.id, role_of(now));
    if (trust_of(was) != trust_of(now)) calls.setInterfaceMode(now.id, trust_of(now));
    if (was.remote_id != now.remote_id) calls.setInterfaceRemoteId(now.id, now.remote_id);
}

}  // namespace ia::node
