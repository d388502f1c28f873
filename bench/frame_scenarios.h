// What is measured of the frame path: frames through process_frame, and what
// their custom IDs cost. Each scenario checks its bytes before anything counts.
#pragma once

#include "bench/measure.h"

#include <cstddef>
#include <functional>
#include <span>

namespace ia::bench {

// Runs as many frames; owns the line that they are of.
using Work = std::function<void(std::size_t frames)>;

struct Scenario {
    const char *name;
    const char *what;
    Work (*make)();  // throws std::runtime_error when the bytes are not right
    Target allocations;
};

std::span<const Scenario> scenarios();

}  // namespace ia::bench
