// Making a bridge record, the same in both processes.
#pragma once

#include "store/bridge_list.h"

#include <cstdint>

namespace ia {

// Checks the name (-22 over 10 characters, -19 when the bridge exists; -6
// without a list). Traces what it refuses at level 2.
int check_new_bridge(const char *name);

// -12, traced at level 2 with the size of a record with so many port slots.
int no_memory_for(const char *name, std::uint32_t ports);

}  // namespace ia
