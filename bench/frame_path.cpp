// Measures the frame path alone (process_frame, frame by frame) and its custom IDs,
// without worker, socket or device.
//
//   frame_path            the table: time and allocations a frame
//   frame_path list       the scenarios' names
//   frame_path NAME N     one scenario, N frames, for an instruction counter
#include "bench/allocations.h"
#include "bench/frame_scenarios.h"
#include "bench/measure.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace ia::bench;

namespace {

// Pairs of scenarios whose cost ratio has a limit.
struct Limit {
    const char *what, *above, *below;
    double at_most;
};
constexpr Limit limits[] = {
    {"planned text ID / snprintf", "plan_text", "id_by_hand", 2},
    {"4,000 ports / 2 ports", "many_ports", "padi_text", 1.15},
    {"4,000 VLANs of the port / none", "many_port_vlans", "padi_text", 1.15},
    {"200 bridges / some", "many_bridges", "padi_text", 1.15},
};

std::size_t scenario_named(std::string_view name) {
    const auto found = std::ranges::find(scenarios(), name, &Scenario::name);
    if (found == scenarios().end()) throw std::runtime_error("no scenario " + std::string(name));
    return static_cast<std::size_t>(found - scenarios().begin());
}

void print_limits(const std::vector<Series> &times) {
    for (const Limit &limit : limits) {
        Series ratios;
        for (std::size_t i = 0; i < repetitions; ++i)
            ratios[i] =
                times[scenario_named(limit.above)][i] / times[scenario_named(limit.below)][i];
        print_row(limit.what, "CPU time, ratio", ratios, {Target::at_most, limit.at_most});
    }
}

double allocations_per_frame(const Work &work) {
    constexpr std::size_t frames = 1000;
    const std::size_t before = allocations();
    work(frames);
    return static_cast<double>(allocations() - before) / frames;
}

// The scenarios alternate, so that other load on the machine affects all alike.
void print_table() {
    constexpr std::size_t runs = 200;
    constexpr std::size_t frames = 100;
    std::vector<Work> works;
    for (const Scenario &scenario : scenarios()) works.push_back(scenario.make());
    std::vector<Series> times(works.size());
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition)
        for (std::size_t i = 0; i < works.size(); ++i)
            times[i][repetition] = cpu_time_per_frame(runs, frames, works[i]);
    for (std::size_t i = 0; i < works.size(); ++i) {
        print_row(scenarios()[i].what, "CPU ns/frame", times[i]);
        Series counts;
        counts.fill(allocations_per_frame(works[i]));
        print_row(scenarios()[i].what, "allocations/frame", counts, scenarios()[i].allocations);
    }
    print_limits(times);
}

}  // namespace

int main(int argc, char **argv) try {
    if (argc == 1)
        print_table();
    else if (argc == 2)
        for (const Scenario &scenario : scenarios())
            std::printf("%s\t%s\n", scenario.name, scenario.what);
    else
        scenarios()[scenario_named(argv[1])].make()(std::stoul(argv[2]));
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "frame_path: %s\n", error.what());
    return 1;
}
