// The interface registry's lookups.
#include "platform/bll/Interfaces.h"

#include "node/framework/registry.h"

#include <cstring>

namespace {

using ia::node::InterfaceType;
using ia::node::NodeState;
using ia::node::registry;
using Described = ia::node::Interface;

constexpr int found = 0;
constexpr int unknown = 1;

// Reads one interface for a lookup; returns `unknown` when no interface has that
// id.
template <class Use>
int read_interface(unsigned int id, Use use) {
    return registry().read([&](const NodeState &node) {
        const Described *const interface = node.interface(id);
        if (!interface) return unknown;
        use(*interface);
        return found;
    });
}

Interfaces::Interface record_of(const Described &interface) {
    return {interface.id, interface.name, static_cast<Interfaces::interfaceType>(interface.type),
            interface.type == InterfaceType::gem && interface.gem_in_use};
}

Interfaces::slot_port_s location_of(const Described &interface) {
    Interfaces::slot_port_s location{};
    std::strncpy(location.panel, interface.panel.c_str(), sizeof location.panel - 1);
    location.panel_validity = interface.panel.empty() ? 2 : 1;
    location.port = interface.port;
    location.onu_or_pvc = interface.type == InterfaceType::atm ? interface.pvc : interface.onu;
    location.gem = interface.gem;
    return location;
}

}  // namespace

const std::string &Interfaces::entityName() const {
    static const std::string name = "Interfaces";
    return name;
}

int Interfaces::interfaceListGet(std::list<Interface> &list) const {
    list.clear();
    registry().read([&](const NodeState &node) {
        for (const auto &[id, interface] : node.interfaces) list.push_back(record_of(interface));
    });
    return found;
}

int Interfaces::interfaceGetLinuxnameById(unsigned int id, std::string &device) const {
    return read_interface(id, [&](const Described &interface) { device = interface.device; });
}

int Interfaces::interfaceGetNameById(unsigned int id, std::string &name) const {
    return read_interface(id, [&](const Described &interface) { name = interface.name; });
}

int Interfaces::interfaceGetTypeById(unsigned int id, interfaceType &type) const {
    return read_interface(
        id, [&](const Described &interface) { type = static_cast<interfaceType>(interface.type); });
}

int Interfaces::interfaceSlotPortIntfGet(unsigned int id, slot_port_s &location) const {
    return read_interface(id,
                          [&](const Described &interface) { location = location_of(interface); });
}

int Interfaces::interfaceParentGet(unsigned int id, Interface &parent) const {
    return registry().read([&](const NodeState &node) {
        const Described *const child = node.interface(id);
        const Described *const above = child ? node.interface(child->parent) : nullptr;
        if (!above) return unknown;
        parent = record_of(*above);
        return found;
    });
}

int Interfaces::interfaceAllChildrenGet(unsigned int id, std::list<Interface> &children) const {
    return registry().read([&](const NodeState &node) {
        if (!node.interface(id)) return unknown;
        children.clear();
        for (const auto &[child, interface] : node.interfaces)
            if (interface.parent == id) children.push_back(record_of(interface));
        return found;
    });
}

int Interfaces::interfaceGetIdByOMApiInterface(const kvOMApiInterface_s &described,
                                               unsigned int &id) const {
    if (described.family != 1 || described.kind != 1) return unknown;
    return registry().read([&](const NodeState &node) {
        for (const auto &[candidate, interface] : node.interfaces) {
            if (interface.type != InterfaceType::onu || interface.parent != described.port ||
                interface.onu != described.onu)
                continue;
            id = candidate;
            return found;
        }
        return unknown;
    });
}

bool Interfaces::checkId(unsigned int id) const {
    return registry().read([&](const NodeState &node) { return node.interface(id) != nullptr; });
}
