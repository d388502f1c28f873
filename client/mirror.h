// This process's store where it has to be told what only the engine sees.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace ia {

// The largest Ethernet frame of a bridge that this process's store accepts as its
// maximum: at least 1500 bytes, and what the node's description says, so that
// the engine alone decides. Returns 0, or -2 for an unknown bridge.
int mirror_maximum_set(const char *bridge, std::uint32_t bytes);

}  // namespace ia

#pragma GCC visibility pop
