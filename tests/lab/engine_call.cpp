// Sets what only the client API can set in a running engine, from a process of
// its own: the mode and formats of a port and VLAN of "br0".
//
//   engine_call mode|cid-format|rid-format PORT VLAN VALUE
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

}  // namespace

int main(int argc, char **argv) {
    if (argc != 5 || !make_mirror()) return 2;
    const auto number = [&](int at) { return std::strtoul(argv[at], nullptr, 10); };
    const int result = set(argv[1], static_cast<std::uint32_t>(number(2)),
                           static_cast<std::uint16_t>(number(3)), argv[4]);
    if (result != 0) std::fprintf(stderr, "the engine answered %d\n", result);
    return result != 0;
}
