// A log line that a frame can cause, and with it any subscriber as often as he
// likes.
#pragma once

#include "fe/base/trace.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace ia {

// Written at most once a minute, and always while frames are traced. How often it
// was left out meanwhile is told with the next one. One for each place that logs;
// any thread.
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

    // Whether it is time, and if so how often it was not since the last time.
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
