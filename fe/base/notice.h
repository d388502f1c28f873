// A log line that a frame, and so any subscriber, can cause at any rate.
#pragma once

#include "fe/base/trace.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace ia {

// Writes at most once a minute, and always while frames are traced. The next line
// tells how many were left out. One object for each logging place. Any thread.
class Notice {
public:
    using Clock = std::chrono::steady_clock;

    template <class... Args>
    void log(int level, const char *format, Args... args) {
        if (level > pppoeia_log_level.load(std::memory_order_relaxed)) return;
        const std::optional<std::uint32_t> left_out = tracing() ? 0U : due(Clock::now());
        if (!left_out) return;
        if (*left_out > 0)
            pppoeia_log(level, "The next line was left out %u times.", unsigned{*left_out});
        pppoeia_log(level, format, args...);
    }

    // Whether it is time to write, and if so the number of lines left out.
    std::optional<std::uint32_t> due(Clock::time_point now) {
        const Clock::rep ticks = now.time_since_epoch().count();
        Clock::rep next = next_.load(std::memory_order_relaxed);
        if (ticks < next || !next_.compare_exchange_strong(next, ticks + gap.count())) {
            ++left_out_;
            return std::nullopt;
        }
        return left_out_.exchange(0);
    }

private:
    static constexpr Clock::duration gap = std::chrono::minutes(1);

    std::atomic<Clock::rep> next_{INT64_MIN};
    std::atomic<std::uint32_t> left_out_{0};
};

}  // namespace ia
