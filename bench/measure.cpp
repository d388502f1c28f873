#include "bench/measure.h"

#include <algorithm>
#include <cstdio>

namespace ia::bench {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

double cpu_time(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

void print_row(const char *what, const char *unit, const Series &series, Target target) {
    const double middle = median({series.begin(), series.end()});
    const auto [lowest, highest] = std::ranges::minmax(series);
    const int decimals = highest < 10 ? 2 : 0;
    std::printf("%s\t%s\t%.*f\t%.*f\t%.*f\t", what, unit, decimals, middle, decimals, lowest,
                decimals, highest);
    switch (target.kind) {
        case Target::none: std::puts("-\t-"); break;
        case Target::at_most:
            std::printf("<= %g\t%s\n", target.value, middle <= target.value ? "met" : "NOT MET");
            break;
        case Target::at_least:
            std::printf(">= %g\t%s\n", target.value, middle >= target.value ? "met" : "NOT MET");
            break;
    }
    std::fflush(stdout);
}

}  // namespace ia::bench
