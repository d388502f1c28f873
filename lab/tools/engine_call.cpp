// Calls a running engine over the client API, from a process of its own.
//
//   engine_call stats PORT...  prints the engine's counters: a line of nine numbers for
//                            the bridge (0) and each port
//   engine_call fill PORT    sets formats VLAN by VLAN until one is refused; prints how
//                            many were set, and the refusal
//   engine_call clear PORT   clears them
//
// Its own store mirrors the bridge with all its ports, so that a call's result is
// the engine's.
#include "pppoeia/pppoeia.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr char bridge[] = "br0";
constexpr std::uint32_t port_records = 32;

bool make_mirror() {
    const pppoeia_port_info info{};
    if (pppoeia_cache_init() != 0 || pppoeia_cache_on_bridge_add(bridge, port_records) != 0)
        return false;
    for (std::uint32_t port = 1; port < port_records; ++port)
        if (cache_pppoeia_port_add(bridge, port, "mirror", "", &info) != 0) return false;
    return true;
}

int say_stats(std::uint32_t port) {
    pppoeia_stats stats{};
    const int result = port == 0 ? pppoeia_bridge_stats_get(bridge, &stats)
                                 : pppoeia_port_stats_get(bridge, port, &stats);
    if (result != 0) return result;
    std::printf("%u %u %u %u %u %u %u %u %u %u\n", port, stats.padi, stats.padr, stats.pado,
                stats.pads, stats.padt, stats.dropped, stats.unknown_code, stats.truncated,
                stats.bypassed);
    return 0;
}

// Sets formats VLAN by VLAN until the engine refuses one.
int fill(std::uint32_t port) {
    constexpr char format[] = "a format of some length, for a VLAN of its own: $VLAN";
    constexpr std::uint16_t last_vlan = 4094;
    int result = 0;
    std::uint16_t vlan = 0;
    while (result == 0 && vlan < last_vlan)
        result = pppoeia_remote_id_format_port_vlan_set(bridge, port, ++vlan, format);
    std::printf("%u %d\n", result == 0 ? vlan : vlan - 1U, result);
    return 0;
}

int clear(std::uint32_t port) {
    return clear_port_vlan(bridge, port);
}

std::uint32_t number_of(const char *text) {
    return static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

// Runs an operation on each named port.
int on_ports(int (*operation)(std::uint32_t), int argc, char **argv) {
    for (int i = 2; i < argc; ++i)
        if (const int result = operation(number_of(argv[i])); result != 0) return result;
    return 0;
}

int run(const std::string &what, int argc, char **argv) {
    if (what == "stats") return on_ports(say_stats, argc, argv);
    if (what == "fill") return on_ports(fill, argc, argv);
    if (what == "clear") return on_ports(clear, argc, argv);
    return -1;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3 || !make_mirror()) return 2;
    const int result = run(argv[1], argc, argv);
    if (result != 0) std::fprintf(stderr, "the engine answered %d\n", result);
    return result != 0;
}
