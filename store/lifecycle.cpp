// The store of the management process, and the factory defaults of a bridge.
#include "fe/base/trace.h"
#include "pppoeia/store.h"
#include "store/new_bridge.h"
#include "store/operation.h"

#include <memory>
#include <new>
#include <vector>

using namespace ia;

int pppoeia_cache_init() {
    bridge_list_release();
    if (bridge_list_create()) return 0;
    pppoeia_log(2, "Cannot allocate memory.");
    return -ENOMEM;
}

int pppoeia_cache_on_bridge_add(const char *bridge, std::uint32_t ports) {
    if (const int result = check_new_bridge(bridge); result != 0) return result;
    try {
        bridge_list_link(std::make_shared<pppoeia_bridge>(bridge, ports));
        return 0;
    } catch (const std::bad_alloc &) {
        return no_memory_for(bridge, ports);
    }
}

int pppoeia_cache_on_bridge_del(const char *bridge) {
    if (!bridge_list_exists()) return refuse(__func__, -ENXIO);
    if (bridge_list_unlink(bridge)) return 0;
    pppoeia_log(3, "%s()=-ENOENT", __func__);
    return -ENOENT;
}

namespace {

// Runs the steps in order and stops at the first failure, whose result it returns.
template <class... Steps>
int in_order(Steps... steps) {
    int result = 0;
    static_cast<void>((((result = steps()) == 0) && ...));
    return result;
}

struct PortDefaults {
    std::int32_t state;
    std::uint32_t trust;
};
constexpr PortDefaults network_side{PPPOEIA_PORT_BOTH, PPPOEIA_PORT_TRUSTED};
constexpr PortDefaults subscriber_side{PPPOEIA_PORT_DISABLED, PPPOEIA_PORT_UNTRUSTED};

int apply_port_defaults(const char *bridge, std::uint32_t port, const PortDefaults &defaults) {
    return in_order([&] { return cache_pppoeia_port_state_set(bridge, port, defaults.state); },
                    [&] { return cache_pppoeia_port_trust_set(bridge, port, defaults.trust); },
                    [&] { return cache_pppoeia_port_remote_id_set(bridge, port, ""); },
                    [&] {
                        return cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, port,
                                                                          PPPOEIA_CID_DEFAULT);
                    },
                    [&] { return cache_clear_port_vlan(bridge, port); });
}

int apply_all_port_defaults(const char *bridge) {
    struct Present {
        std::uint32_t id;
        bool faces_network;
    };
    std::vector<Present> present;
    {
        const LockedBridge found(bridge);
        if (!found) return -ENOENT;
        for (const pppoeia_port &port : found->ports)
            if (port.present()) present.push_back({port.port_id, port.faces_network()});
    }
    int result = 0;
    for (const auto &[id, faces_network] : present) {
        result = apply_port_defaults(bridge, id, faces_network ? network_side : subscriber_side);
        if (result != 0) break;
    }
    return result;
}

}  // namespace

int cache_pppoeia_apply_default_settings(const char *bridge) {
    constexpr std::int32_t log_level = 3;
    constexpr std::uint32_t chassis = 99;
    trace_call(__func__, bridge);
    if (!bridge_list_find(bridge)) return refuse(__func__, -ENOENT);
    return in_order([&] { return cache_pppoeia_bridge_state_set(bridge, 0); },
                    [&] { return cache_pppoeia_bridge_chassis_id_set(bridge, chassis); },
                    [&] { return cache_pppoeia_bridge_vsa_mode_set(bridge, PPPOEIA_VSA_REMOVE); },
                    [&] { return cache_pppoeia_bridge_vsa_insert_circuit_id_set(bridge, 1); },
                    [&] { return cache_pppoeia_bridge_vsa_insert_remote_id_set(bridge, 1); },
                    [&] { return cache_pppoeia_bridge_vlan_set_all(bridge, 0); },
                    [&] { return cache_pppoeia_log_level_set(log_level); },
                    [&] { return cache_pppoeia_bridge_vsa_circuit_id_cvlan_set(bridge, 0); },
                    [&] { return cache_pppoeia_circuit_id_format_set(bridge, ""); },
                    [&] { return cache_pppoeia_remote_id_format_set(bridge, "$PORT_REM_ID"); },
                    [&] { return cache_clear_vlan(bridge); },
                    [&] { return apply_all_port_defaults(bridge); });
}
