// Sets what only the client API can set in a running engine, from a process of
// its own: the mode and formats of a port and VLAN of "br0". Says what the engine
// counted, a line for the bridge (0) and each port: the nine counters in order.
//
//   engine_call mode|cid-format|rid-format PORT VLAN VALUE
//   engine_call stats PORT...
//
// Its own store mirrors the bridge with all its ports, so that the engine's
// result is also the call's.
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

int set(const std::string &what, std::uint32_t port, std::uint16_t vlan, const char *value) {
    if (what == "mode")
        return pppoeia_circuit_id_mode_port_vlan_set(
            bridge, port, vlan, static_cast<std::uint32_t>(std::strtoll(value, nullptr, 0)));
    if (what == "cid-format")
        return pppoeia_circuit_id_format_port_vlan_set(bridge, port, vlan, value);
    if (what == "rid-format")
        return pppoeia_remote_id_format_port_vlan_set(bridge, port, vlan, value);
    return -1;
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

int say_all_stats(int argc, char **argv) {
    for (int i = 2; i < argc; ++i)
        if (say_stats(static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 10))) != 0)
            return 1;
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc > 2 && std::string(argv[1]) == "stats")
        return make_mirror() ? say_all_stats(argc, argv) : 2;
    if (argc != 5 || !make_mirror()) return 2;
    const auto number = [&](int at) { return std::strtoul(argv[at], nullptr, 10); };
    const int result = set(argv[1], static_cast<std::uint32_t>(number(2)),
                           static_cast<std::uint16_t>(number(3)), argv[4]);
    if (result != 0) std::fprintf(stderr, "the engine answered %d\n", result);
    return result != 0;
}
