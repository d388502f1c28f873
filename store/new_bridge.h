// Creates bridge records; both processes use it.
#pragma once

#include "store/bridge_list.h"

#include <cstdint>

namespace ia {

// Checks the name: -22 if longer than 10 characters, -19 if the bridge exists, -6
// without a list. Refusals are traced at level 2.
int check_new_bridge(const char *name);

// -12 without memory, traced at level 2 with the size of the record and its port
// slots.
int no_memory_for(const char *name, std::uint32_t ports);

}  // namespace ia
