// The agent's view of each of the node's interface types.
#pragma once

#include "platform/bll/Interfaces.h"
#include "pppoeia/records.h"

#include <cstdint>
#include <iterator>

namespace ia {

struct InterfaceTypeFacts {
    const char *name;    // the store's type word
    std::uint32_t kind;  // the store's kind code
    bool has_parent;
    std::uint32_t state;  // of a new port
    std::uint32_t trust;
};

constexpr InterfaceTypeFacts network_side(const char *name, std::uint32_t kind) {
    return {name, kind, false, PPPOEIA_PORT_BOTH, PPPOEIA_PORT_TRUSTED};
}

constexpr InterfaceTypeFacts subscriber_side(const char *name, std::uint32_t kind,
                                             bool has_parent = false) {
    return {name, kind, has_parent, PPPOEIA_PORT_DISABLED, PPPOEIA_PORT_UNTRUSTED};
}

// In the order of Interfaces::interfaceType.
inline constexpr InterfaceTypeFacts interface_types[] = {
    network_side("eth", 1),    subscriber_side("dsl", 2),       subscriber_side("atm", 3, true),
    subscriber_side("olt", 6), subscriber_side("onu", 7, true), subscriber_side("gem", 8, true),
    subscriber_side("mng", 4), network_side("lag", 5),          subscriber_side("eth", 9),
};
static_assert(std::size(interface_types) == Interfaces::interfaceTypeAccess + 1);

// Null for a type that the agent does not know.
constexpr const InterfaceTypeFacts *facts_of(Interfaces::interfaceType type) {
    return type < std::size(interface_types) ? &interface_types[type] : nullptr;
}

}  // namespace ia
