// Tells this process's store a value that only the engine can read from the kernel.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace ia {

// Sets the largest value that this process's store accepts as a bridge's maximum
// PDU. It is at least 1500 and never below the current maximum: whether a value is
// too large is for the engine to decide. Returns 0, or -2 for an unknown bridge.
int mirror_maximum_set(const char *bridge, std::uint32_t bytes);

}  // namespace ia

#pragma GCC visibility pop
