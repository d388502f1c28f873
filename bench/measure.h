// Medians and rows of the table. A row is one line of tab-separated columns:
// what, unit, median, lowest, highest, target, met.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <utility>
#include <vector>

namespace ia::bench {

inline constexpr std::size_t repetitions = 5;

using Clock = std::chrono::steady_clock;

inline double nanoseconds(Clock::duration time) {
    return std::chrono::duration<double, std::nano>(time).count();
}

// One value per repetition.
using Series = std::array<double, repetitions>;

double median(std::vector<double> values);

// The limit of a series' median.
struct Target {
    enum { none, at_most, at_least } kind = none;
    double value = 0;
};

void print_row(const char *what, const char *unit, const Series &series, Target target = {});

// A thread's CPU time so far, ns.
double cpu_time(clockid_t clock);

// The calling thread's CPU time per frame, ns: the median of many short runs, so
// that a run that lost its core or its cache does not count. work(frames)
template <class Work>
double cpu_time_per_frame(std::size_t runs, std::size_t frames, const Work &work) {
    std::vector<double> times;
    for (std::size_t run = 0; run < runs; ++run) {
        const double start = cpu_time(CLOCK_THREAD_CPUTIME_ID);
        work(frames);
        times.push_back((cpu_time(CLOCK_THREAD_CPUTIME_ID) - start) / static_cast<double>(frames));
    }
    return median(std::move(times));
}

}  // namespace ia::bench
