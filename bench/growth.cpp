// Measures the cost of configuration as a node grows, and its memory: the store
// itself on a scripted node, without requests.
#include "bench/measure.h"
#include "pppoeia/pppoeia.h"
#include "tests/support/scripted_node.h"

#include <malloc.h>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

using namespace ia::bench;

namespace {

constexpr char br[] = "br0";
constexpr std::uint16_t all_vlans = 4000;
constexpr unsigned all_bridges = 200;

void must(int result, const char *what) {
    if (result != 0) throw std::runtime_error(std::string(what) + ": " + std::to_string(result));
}

double ns_of(const std::function<void()> &act) {
    const Clock::time_point start = Clock::now();
    act();
    return nanoseconds(Clock::now() - start);
}

double heap() {
    return static_cast<double>(mallinfo2().uordblks);
}

void add_port(const char *bridge, std::uint32_t port) {
    pppoeia_port_info info{};
    std::snprintf(info.intf_type, sizeof info.intf_type, "eth");
    must(cache_pppoeia_port_add(bridge, port, "dev", "1/1/1", &info), "port");
}

void add_port_vlan(std::uint16_t vlan) {
    must(cache_pppoeia_circuit_id_format_port_vlan_set(br, 1, vlan, "$PORT"), "port-VLAN");
}

void row(const char *what, const char *unit, std::vector<double> values, Target target = {}) {
    Series series;
    std::copy_n(values.begin(), series.size(), series.begin());
    print_row(what, unit, series, target);
}

// The entry is added and removed many times.
double added_again_and_again(std::uint16_t vlan) {
    std::vector<double> times;
    for (int i = 0; i < 200; ++i) {
        times.push_back(ns_of([vlan] { add_port_vlan(vlan); }));
        must(cache_pppoeia_port_vlan_del(br, 1, vlan), "port-VLAN");
    }
    return median(std::move(times));
}

void port_vlans() {
    std::vector<double> first;
    std::vector<double> last;
    std::vector<double> ratio;
    double bytes = 0;
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition) {
        must(fe_pppoeia_bridge_add(br, 2), "bridge");
        add_port(br, 1);
        first.push_back(added_again_and_again(1));
        const double before = heap();
        for (std::uint16_t vlan = 1; vlan < all_vlans; ++vlan) add_port_vlan(vlan);
        bytes = (heap() - before) / (all_vlans - 1);
        last.push_back(added_again_and_again(all_vlans));
        ratio.push_back(last.back() / first.back());
        must(fe_pppoeia_bridge_del(br), "bridge");
    }
    row("a port's first VLAN entry", "ns", first);
    row("a port's 4,000th", "ns", last);
    row("4,000th / first", "ratio", ratio, {Target::at_most, 2});
    print_row("memory of an entry", "bytes", {bytes, bytes, bytes, bytes, bytes});
}

void bridges() {
    std::vector<double> first;
    std::vector<double> last;
    std::vector<double> ratio;
    double bytes = 0;
    const auto name = [](unsigned number) { return "b" + std::to_string(number); };
    const auto add = [&](unsigned number) {
        return ns_of([&] { must(fe_pppoeia_bridge_add(name(number).c_str(), 8), "bridge"); });
    };
    for (unsigned number = 1; number <= all_bridges; ++number)
        ia::test::add_node_bridge(name(number));
    for (std::size_t repetition = 0; repetition < repetitions; ++repetition) {
        std::vector<double> begun;
        std::vector<double> ended;
        const double before = heap();
        for (unsigned number = 1; number <= all_bridges; ++number) {
            const double time = add(number);
            if (number <= 10) begun.push_back(time);
            if (number > all_bridges - 10) ended.push_back(time);
        }
        bytes = (heap() - before) / all_bridges;
        for (unsigned number = 1; number <= all_bridges; ++number)
            must(fe_pppoeia_bridge_del(name(number).c_str()), "bridge");
        first.push_back(median(std::move(begun)) / 1000);
        last.push_back(median(std::move(ended)) / 1000);
        ratio.push_back(last.back() / first.back());
    }
    row("a bridge, one of the first ten", "us", first);
    row("a bridge, up to the 200th", "us", last);
    row("200th / first", "ratio", ratio, {Target::at_most, 2});
    print_row("memory of an idle bridge of 8 ports", "bytes", {bytes, bytes, bytes, bytes, bytes});
}

}  // namespace

int main() {
    try {
        ia::test::reset_node();
        must(fe_pppoeia_init(), "the engine");
        port_vlans();
        bridges();
        must(fe_pppoeia_fini(), "the engine");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "growth: %s\n", error.what());
        return 1;
    }
}
