// Making a bridge record, the same in both processes.
#pragma once

#include "store/bridge_list.h"

#include <cstdint>

namespace ia {

// Slots that a frame's 16-bit port index can name; a table beyond them is
// refused like one that memory cannot hold.
inline constexpr std::uint32_t max_ports = 65536;

// Checks the name (-22 over 10 characters, -19 when the bridge exists; -6
// without a list). Traces what it refuses at level 2.
int check_new_bridge(const char *name);

// Makes the record with its defaults, not yet linked. -12 without memory.
int allocate_bridge(const char *name, std::uint32_t ports, BridgePtr &out);

}  // namespace ia
