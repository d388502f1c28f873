// Counts this process's failed calls to the engine.
#pragma once

#include <atomic>
#include <cstdint>

// One for the library and for the process that loads it.
#pragma GCC visibility push(default)

namespace ia {

// Since the process started. Any thread.
struct ClientHealth {
    std::atomic<std::uint32_t> ippc_failures{0};  // calls without an answer
};

inline ClientHealth health;

}  // namespace ia

#pragma GCC visibility pop
