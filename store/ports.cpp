// The port table: adding and deleting ports, their settings and VLAN
// membership.
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "pppoeia/store.h"
#include "store/accessors.h"
#include "store/operation.h"

#include <cstring>

using namespace ia;

namespace {

constexpr std::uint32_t not_set = 0xFFFFFFFF;

// A new port keeps the slot's values of trust, Circuit-ID mode, VLAN membership and
// statistics, which the operation does not set.
void fill_slot(pppoeia_port &port, std::uint32_t id, const char *dev_name, const char *port_name,
               const pppoeia_port_info &info) {
    port.port_id = id;
    copy_text(port.dev_name, dev_name);
    copy_text(port.port_name, port_name);
    copy_text(port.intf_type, text_of(info.intf_type));
    copy_text(port.intf_descr, "");
    copy_text(port.cpe_serial, "");
    copy_text(port.remote_id, "");
    port.cpe_mac = {};
    port.location = info.location;
    port.state = PPPOEIA_PORT_DISABLED;
    port.vpi = not_set;
    port.vci = not_set;
    port.parent_id = info.parent_id;
    port.intf_kind = info.intf_kind;
    port.port_vlans.clear();
}

int set_all(const char *operation, const char *bridge, std::uint32_t pppoeia_port::*field,
            std::uint32_t value) {
    trace_call(operation, bridge, value);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &b) {
        for (pppoeia_port &port : b.ports) port.*field = value;
        return 0;
    });
}

int get_number(const char *operation, const char *bridge, std::uint32_t id,
               std::uint32_t pppoeia_port::*field, std::uint32_t *out) {
    trace_call(operation, bridge, id);
    return on_port(operation, bridge, id, [&](pppoeia_bridge &, pppoeia_port &port) {
        *out = port.*field;
        return 0;
    });
}

// work(port, vid) on a port whose bridge serves the VLAN.
template <class Work>
int on_port_vlan_bit(const char *operation, const char *bridge, std::uint32_t id, std::uint16_t vid,
                     Work work) {
    return on_port(operation, bridge, id, [&](pppoeia_bridge &b, pppoeia_port &port) {
        if (!b.vlan_enabled.test(vid)) return refuse(operation, -EPERM);
        work(port);
        return 0;
    });
}

}  // namespace

int cache_pppoeia_port_add(const char *bridge, std::uint32_t port, const char *dev_name,
                           const char *port_name, const pppoeia_port_info *info) {
    trace_call(__func__, bridge, port);
    int result = 0;
    {
        const LockedBridge found(bridge);
        if (!found) {
            pppoeia_log(3, "%s():%d return -ENOENT", __func__, __LINE__);
            return -ENOENT;
        }
        if (port == 0 || !info) {
            pppoeia_log(3, "%s():%d return -EINVAL", __func__, __LINE__);
            return -EINVAL;
        }
        if (port >= found->port_limit)
            result = -ENOSPC;
        else if (!found->port(port))
            fill_slot(found->ports[port - 1], port, dev_name, port_name, *info);
    }
    if (result != 0) {
        pppoeia_log(3, "<%s> Unable to add port '%s' (%d).", bridge, dev_name, result);
        return trace_result(__func__, result);
    }
    pppoeia_log(7, "<%s> Port %d, %s added.", bridge, port, dev_name);
    return 0;
}

int cache_pppoeia_port_del(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        p.dev_name[0] = '\0';
        p.port_vlans.clear();
        pppoeia_log(7, "<%s> Port %d removed.", b.name, port);
        return 0;
    });
}

int cache_pppoeia_port_state_set(const char *bridge, std::uint32_t port, std::int32_t state) {
    trace_call(__func__, bridge, port, state);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        p.state = static_cast<std::uint32_t>(state);
        pppoeia_log(7, "<%s> Port %d state set to %d.", b.name, port, state);
        return 0;
    });
}

int cache_pppoeia_port_state_set_all(const char *bridge, std::uint32_t state) {
    return set_all(__func__, bridge, &pppoeia_port::state, state);
}

int cache_pppoeia_port_state_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    return get_number(__func__, bridge, port, &pppoeia_port::state, out);
}

int cache_pppoeia_port_trust_set(const char *bridge, std::uint32_t port, std::uint32_t trust) {
    trace_call(__func__, bridge, port, trust);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        p.trust = trust;
        pppoeia_log(7, "<%s> Port %d type set to %d.", b.name, port, trust);
        return 0;
    });
}

int cache_pppoeia_port_trust_set_all(const char *bridge, std::uint32_t trust) {
    return set_all(__func__, bridge, &pppoeia_port::trust, trust);
}

int cache_pppoeia_port_trust_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    return get_number(__func__, bridge, port, &pppoeia_port::trust, out);
}

int cache_pppoeia_port_remote_id_set(const char *bridge, std::uint32_t port,
                                     const char *remote_id) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port,
                   [&, operation = __func__](pppoeia_bridge &b, pppoeia_port &p) {
                       if (!fits(p.remote_id, remote_id)) return refuse(operation, -ENOSPC);
                       copy_text(p.remote_id, remote_id);
                       pppoeia_log(7, "<%s> Port %d Agent ID set.", b.name, port);
                       return 0;
                   });
}

int cache_pppoeia_port_remote_id_get(const char *bridge, std::uint32_t port, char *out) {
    trace_call(__func__, bridge, port);
    return on_bridge(__func__, bridge,
                     [&](pppoeia_bridge &b) { return br_port_remote_id_get(b, port, out); });
}

int cache_pppoeia_port_vsa_circuit_id_mode_set(const char *bridge, std::uint32_t port,
                                               std::uint32_t mode) {
    trace_call(__func__, bridge, port, mode);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        p.vsa_circuit_id_mode = mode;
        return 0;
    });
}

int cache_pppoeia_port_vsa_circuit_id_mode_get(const char *bridge, std::uint32_t port,
                                               std::uint32_t *out) {
    pppoeia_log(7, "%s(%s) port=%u", __func__, bridge, port);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        return br_port_vsa_circuit_id_mode_get(b, port, out);
    });
}

int cache_pppoeia_port_pvc_set(const char *bridge, std::uint32_t port, std::uint32_t vpi,
                               std::uint32_t vci) {
    trace_call(__func__, bridge, port, vpi, vci);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        if (text_of(p.intf_type) != "atm") return 1;
        p.vpi = vpi;
        p.vci = vci;
        pppoeia_log(7, "<%s> Port %d vpi/vci set to %d/%d.", b.name, port, vpi, vci);
        return 0;
    });
}

int cache_pppoeia_port_pvc_get(const char *bridge, std::uint32_t port, std::uint32_t *vpi,
                               std::uint32_t *vci) {
    if (!vpi || !vci) return 1;
    trace_call(__func__, bridge, port);
    return on_bridge(__func__, bridge,
                     [&](pppoeia_bridge &b) { return br_port_pvc_get(b, port, vpi, vci); });
}

int cache_pppoeia_port_parent_set(const char *bridge, std::uint32_t port, std::uint32_t parent) {
    trace_call(__func__, bridge, port, parent);
    constexpr int refusal_level = 3;
    return on_port(
        __func__, bridge, port,
        [&](pppoeia_bridge &b, pppoeia_port &p) {
            p.parent_id = parent;
            pppoeia_log(7, "<%s> Port %d parent_id updated to %d.", b.name, port, parent);
            return 0;
        },
        refusal_level);
}

int cache_pppoeia_port_parent_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    if (!out) return 1;
    trace_call(__func__, bridge, port);
    return on_bridge(__func__, bridge,
                     [&](pppoeia_bridge &b) { return br_port_parent_get(b, port, out); });
}

int cache_pppoeia_port_name_update(const char *bridge, std::uint32_t port, const char *port_name,
                                   const pppoeia_port_location *location) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        copy_text(p.port_name, port_name);
        p.location = *location;
        pppoeia_log(7, "<%s> Port %d name updated to %s.", b.name, port, port_name);
        return 0;
    });
}

int cache_pppoeia_port_vlan_info_set(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     int member) {
    vid &= 0x0FFF;
    trace_call(__func__, bridge, port, vid, member);
    return on_port_vlan_bit(__func__, bridge, port, vid,
                            [&](pppoeia_port &p) { p.vlan_member.set(vid, member != 0); });
}

int cache_pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     int *out) {
    vid &= 0x0FFF;
    trace_call(__func__, bridge, port, vid);
    return on_port_vlan_bit(__func__, bridge, port, vid,
                            [&](pppoeia_port &p) { *out = p.vlan_member.test(vid); });
}
