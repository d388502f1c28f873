// The benchmark scenarios of the frame path: frames through process_frame, and
// their custom IDs. Each scenario checks its bytes before it is measured.
#pragma once

#include "bench/measure.h"

#include <cstddef>
#include <functional>
#include <span>

namespace ia::bench {

// Processes that many frames; owns their line.
using Work = std::function<void(std::size_t frames)>;

struct Scenario {
    const char *name;
    const char *what;
    Work (*make)();  // throws std::runtime_error when the bytes are wrong
    Target allocations;
};

std::span<const Scenario> scenarios();

}  // namespace ia::bench
