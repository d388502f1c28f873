// The whole worker on a pseudo device, against bare echoes on the same device.
//
// The engine's thread is held while the generator fills its socket with a burst,
// then works it off without a pause: only the engine is measured. Generator and
// engine have a core each. The rates are made from CPU time, which equals serving
// time here and is insensitive to other load. Wall time, from the release to the
// last frame out, includes the wake-up and other load. All variants alternate in
// short slices.
#include "bench/echo.h"
#include "bench/line.h"
#include "bench/measure.h"
#include "bench/tap.h"
#include "fe/bridge_runtime.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"

#include <pthread.h>
#include <sched.h>
#include <sys/sysinfo.h>
#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <functional>
#include <iterator>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

using namespace ia;
using namespace ia::bench;

namespace {

constexpr char bridge_name[] = "br0";
constexpr char device_name[] = "br0_pppoe";
constexpr std::size_t burst = 256;
constexpr std::size_t bursts = 10;  // per slice
constexpr std::size_t slices = 20;  // per repetition

void pin(int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    pthread_setaffinity_np(pthread_self(), sizeof cores, &cores);
}

// The engine with one bridge, held by the bridge's lock.
class Worker {
public:
    explicit Worker(bool custom_ids) {
        if (fe_pppoeia_init() != 0 || fe_pppoeia_bridge_add(bridge_name, 8) != 0)
            throw std::runtime_error("the engine does not start");
        set_up_line(bridge_name);
        if (custom_ids) use_formats(bridge_name, text_circuit_id, text_remote_id);
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    ~Worker() {
        held_.reset();
        fe_pppoeia_fini();
    }

    void hold() { held_.emplace(bridge_name); }
    void release() { held_.reset(); }

    clockid_t cpu_clock() {
        clockid_t clock = 0;
        pthread_getcpuclockid(bridge_list_find(bridge_name)->runtime->worker.native_handle(),
                              &clock);
        return clock;
    }

private:
    std::optional<LockedBridge> held_;
};

// Nanoseconds per frame of each burst, or of each slice.
struct Costs {
    std::vector<double> wall;
    std::vector<double> cpu;
};

// Receives the whole burst. A missing or unexpected datagram is an error.
void take_burst(Tap &tap, std::size_t expected_length) {
    Bytes datagram(2048);
    const Clock::time_point start = Clock::now();
    for (std::size_t out = 0; out < burst;) {
        const std::size_t length = tap.take(datagram);
        if (length == 0) {
            if (Clock::now() - start > std::chrono::seconds(5))
                throw std::runtime_error("lost " + std::to_string(burst - out) + " frames");
        } else if (length != expected_length) {
            throw std::runtime_error("a stray datagram came out");
        } else {
            ++out;
        }
    }
}

template <class Engine>
void measure_burst(Tap &tap, Engine &engine, std::size_t expected_length, Costs &costs) {
    static const Bytes sent = padi_datagram();
    engine.hold();
    for (std::size_t frame = 0; frame < burst; ++frame) tap.put(sent);
    const double cpu_before = cpu_time(engine.cpu_clock());
    const Clock::time_point start = Clock::now();
    engine.release();
    take_burst(tap, expected_length);
    costs.wall.push_back(nanoseconds(Clock::now() - start) / burst);
    costs.cpu.push_back((cpu_time(engine.cpu_clock()) - cpu_before) / burst);
}

// A new thread starts on its creator's core.
template <class Engine, class... Args>
void measure_slice(Tap &tap, std::size_t expected_length, Costs &costs, Args... args) {
    pin(get_nprocs() - 1);
    Engine engine(args...);
    pin(0);
    for (std::size_t i = 0; i < bursts; ++i) measure_burst(tap, engine, expected_length, costs);
}

template <EchoStyle style>
void echo(Tap &tap, Costs &costs) {
    measure_slice<Echo>(tap, padi_datagram().size(), costs, device_name, style);
}

void worker(Tap &tap, Costs &costs) {
    measure_slice<Worker>(tap, padi_datagram().size() + default_tag().size(), costs, false);
}

void worker_with_custom_ids(Tap &tap, Costs &costs) {
    measure_slice<Worker>(tap, padi_datagram().size() + text_tag().size(), costs, true);
}

struct Variant {
    const char *what;
    void (*slice)(Tap &, Costs &);
    Series wall{};
    Series cpu{};
    std::array<Costs, repetitions> taken{};  // the medians of each slice
};

void repeat(Tap &tap, std::span<Variant> variants, std::size_t repetition) {
    for (std::size_t slice = 0; slice < slices; ++slice)
        for (Variant &variant : variants) {
            Costs costs;
            variant.slice(tap, costs);
            variant.taken[repetition].wall.push_back(median(std::move(costs.wall)));
            variant.taken[repetition].cpu.push_back(median(std::move(costs.cpu)));
        }
    for (Variant &variant : variants) {
        variant.wall[repetition] = median(variant.taken[repetition].wall);
        variant.cpu[repetition] = median(variant.taken[repetition].cpu);
    }
}

Series rate(const Series &time) {
    Series frames;
    for (std::size_t i = 0; i < repetitions; ++i) frames[i] = 1e9 / time[i];
    return frames;
}

// Compares slice by slice: two consecutive slices run at the same clock rate, two
// medians of many may not.
Series ratio(const Variant &above, const Variant &below) {
    Series ratios;
    for (std::size_t i = 0; i < repetitions; ++i) {
        std::vector<double> of_slices;
        std::ranges::transform(above.taken[i].cpu, below.taken[i].cpu,
                               std::back_inserter(of_slices), std::divides());
        ratios[i] = median(std::move(of_slices));
    }
    return ratios;
}

void print_table(Tap &tap) {
    Variant variants[] = {
        {"worker, custom text IDs (6+6 macros)", worker_with_custom_ids},
        {"worker, default forms", worker},
        {"echo: select, recv, send", echo<EchoStyle::select_each>},
        {"echo: recv, send", echo<EchoStyle::no_wait>},
        {"echo: recvmmsg, sendmmsg of 32", echo<EchoStyle::batched>},
    };
    for (std::size_t i = 0; i < repetitions; ++i) repeat(tap, variants, i);
    for (const Variant &variant : variants) {
        print_row(variant.what, "CPU ns/frame", variant.cpu);
        print_row(variant.what, "frames/CPU s", rate(variant.cpu));
        print_row(variant.what, "frames/s", rate(variant.wall));
    }
    const Variant &measured = variants[0];
    const Variant &select_echo = variants[2];
    const Variant &batched_echo = variants[4];
    print_row("worker, custom / select echo", "frames/CPU s", ratio(select_echo, measured),
              {Target::at_least, 1});
    print_row("worker, custom / batched echo", "frames/CPU s", ratio(batched_echo, measured),
              {Target::at_least, 0.75});
}

}  // namespace

int main() try {
    if (get_nprocs() < 2) {
        std::puts("worker on a pseudo device\tskipped: needs two cores\t-\t-\t-\t-\t-");
        return 0;
    }
    std::optional<Tap> tap;
    try {
        tap.emplace(device_name);
    } catch (const std::system_error &error) {
        std::printf("worker on a pseudo device\tskipped: %s\t-\t-\t-\t-\t-\n", error.what());
        return 0;
    }
    print_table(*tap);
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "worker_echo: %s\n", error.what());
    return 1;
}
