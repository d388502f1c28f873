// An interface of the node's description as most tests want it.
#pragma once

#include "node/description/description.h"

#include <cstdint>
#include <string>

namespace ia::test {

inline node::Interface interface(std::uint32_t id, node::InterfaceType type,
                                 std::uint32_t parent = 0) {
    node::Interface made;
    made.id = id;
    made.name = "1/" + std::to_string(id);
    made.type = type;
    made.device = "dev" + std::to_string(id);
    made.bridge = "br0";
    made.parent = parent;
    return made;
}

}  // namespace ia::test
