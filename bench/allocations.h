// Counts the heap allocations of the whole process.
#pragma once

#include <cstddef>

namespace ia::bench {

// Calls of malloc, calloc and realloc so far; operator new makes one call each.
std::size_t allocations();

}  // namespace ia::bench
