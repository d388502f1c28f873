#include "node/framework/registry.h"

#include <algorithm>

namespace ia::node {

NodeState::NodeState(const Description &description)
    : facts(description), bridges(description.bridges) {
    facts.bridges.clear();
    facts.interfaces.clear();
    facts.vlans.clear();
    facts.port_vlans.clear();
    for (const Interface &interface : description.interfaces) {
        gpon = gpon || interface.type == InterfaceType::olt;
        interfaces.emplace(interface.id, interface);
    }
    for (const PortVlan &said : description.port_vlans)
        if (const auto port = interfaces.find(said.port); port != interfaces.end())
            port->second.lines[said.vlan] = said.settings;
    for (const Vlan &vlan : description.vlans) vlans.emplace(VlanKey{vlan.bridge, vlan.id}, vlan);
}

const Bridge *NodeState::bridge(const std::string &name) const {
    const auto found = std::find_if(bridges.begin(), bridges.end(),
                                    [&](const Bridge &bridge) { return bridge.name == name; });
    return found == bridges.end() ? nullptr : &*found;
}

const Interface *NodeState::interface(std::uint32_t id) const {
    const auto found = interfaces.find(id);
    return found == interfaces.end() ? nullptr : &found->second;
}

Registry &registry() {
    static Registry the_node;
    return the_node;
}

}  // namespace ia::node
