// Counts what the process takes from the heap, whoever asks.
#pragma once

#include <cstddef>

namespace ia::bench {

// Calls of malloc, calloc and realloc so far; operator new makes one each.
std::size_t allocations();

}  // namespace ia::bench
