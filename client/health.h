// How this process's calls of the engine have gone.
#pragma once

#include <atomic>
#include <cstdint>

// One for the library and for the process that loads it.
#pragma GCC visibility push(default)

namespace ia {

// Since the process began; any thread.
struct client_health {
    std::atomic<std::uint32_t> ippc_failures{0};  // calls without an answer
};

inline client_health health;

}  // namespace ia

#pragma GCC visibility pop
