// Bridge-wide settings and the two settings of the process.
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "pppoeia/store.h"
#include "store/operation.h"

#include <atomic>

using namespace ia;

namespace {

std::atomic<std::uint8_t> debug_admin_state{0};

constexpr std::int32_t level_notice = 3;  // stored for a requested level of -2
constexpr std::int32_t level_debug = 7;
constexpr std::int32_t level_silent = -1;

int set_number(const char *operation, const char *bridge, std::uint32_t pppoeia_bridge::*field,
               std::uint32_t value) {
    trace_call(operation, bridge, value);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &b) {
        b.*field = value;
        return 0;
    });
}

int get_number(const char *operation, const char *bridge, std::uint32_t pppoeia_bridge::*field,
               std::uint32_t *out) {
    trace_call(operation, bridge);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &b) {
        *out = b.*field;
        return 0;
    });
}

// A port's membership bit stays set when the bridge stops serving the VLAN.
void enable_vlan(pppoeia_bridge &bridge, std::size_t vid, bool enable) {
    bridge.vlan_enabled.set(vid, enable);
    if (enable)
        for (pppoeia_port &port : bridge.ports) port.vlan_member.set(vid);
}

}  // namespace

// --- of the process ----------------------------------------------------------

int cache_pppoeia_log_level_set(std::int32_t level) {
    pppoeia_log_level = level == -2 ? level_notice : level;
    return 0;
}

int cache_pppoeia_log_level_get(std::int32_t *out) {
    if (!out) return -EINVAL;
    *out = pppoeia_log_level;
    return 0;
}

int cache_pppoeia_debug_admin_state_set(std::uint32_t state) {
    debug_admin_state = state != 0;
    return 0;
}

int cache_pppoeia_debug_admin_state_get(std::uint32_t *out) {
    if (!out) return -EINVAL;
    *out = debug_admin_state;
    return 0;
}

int cache_pppoeia_bridge_debug_set(const char *, std::uint32_t on) {
    pppoeia_log_level = on ? level_debug : level_silent;
    return 0;
}

int cache_pppoeia_bridge_debug_get(const char *, std::uint32_t *out) {
    *out = pppoeia_log_level != level_silent;
    return 0;
}

// --- of the bridge -----------------------------------------------------------

int cache_pppoeia_bridge_max_pdu_set(const char *bridge, std::uint32_t pdu) {
    trace_call(__func__, bridge, pdu);
    return on_bridge(__func__, bridge, [&, operation = __func__](pppoeia_bridge &b) {
        if (pdu > b.mtu) return trace_result(operation, -EINVAL);
        b.max_pdu = pdu;
        return 0;
    });
}

int cache_pppoeia_bridge_max_pdu_get(const char *bridge, std::uint32_t *out) {
    if (!out) return refuse(__func__, -EINVAL);
    return get_number(__func__, bridge, &pppoeia_bridge::max_pdu, out);
}

int cache_pppoeia_bridge_state_set(const char *bridge, std::uint32_t state) {
    trace_call(__func__, bridge, state);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        b.disabled = state == 0;
        return 0;
    });
}

int cache_pppoeia_bridge_state_get(const char *bridge, std::uint32_t *out) {
    trace_call(__func__, bridge);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        *out = b.disabled == 0;
        return 0;
    });
}

int cache_pppoeia_bridge_vlan_set(const char *bridge, std::uint16_t vid, std::uint32_t enable) {
    trace_call(__func__, bridge, vid, enable);
    return on_bridge(__func__, bridge, [&, operation = __func__](pppoeia_bridge &b) {
        if (vid >= b.vlan_enabled.size()) return refuse(operation, -EINVAL);
        enable_vlan(b, vid, enable != 0);
        return 0;
    });
}

int cache_pppoeia_bridge_vlan_set_all(const char *bridge, std::uint32_t enable) {
    trace_call(__func__, bridge, enable);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        for (std::size_t vid = 0; vid < b.vlan_enabled.size(); ++vid)
            enable_vlan(b, vid, enable != 0);
        return 0;
    });
}

int cache_pppoeia_bridge_vlan_get(const char *bridge, std::uint16_t vid, std::uint32_t *out) {
    vid &= 0x0FFF;
    trace_call(__func__, bridge, vid);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        *out = b.vlan_enabled.test(vid);
        return 0;
    });
}

int cache_pppoeia_bridge_vendor_set(const char *bridge, const char *vendor) {
    trace_call(__func__, bridge, vendor);
    return on_bridge(__func__, bridge, [&, operation = __func__](pppoeia_bridge &b) {
        if (!fits(b.vendor, vendor)) return refuse(operation, -ENOMEM);
        copy_text(b.vendor, vendor);
        return 0;
    });
}

int cache_pppoeia_bridge_vendor_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::vendor, out);
}

int cache_pppoeia_bridge_vsa_mode_set(const char *bridge, std::uint32_t mode) {
    trace_call(__func__, bridge, mode ? "remove" : "keep");
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        b.vsa_mode = mode;
        return 0;
    });
}

int cache_pppoeia_bridge_vsa_mode_get(const char *bridge, std::uint32_t *out) {
    return get_number(__func__, bridge, &pppoeia_bridge::vsa_mode, out);
}

int cache_pppoeia_bridge_vsa_insert_circuit_id_set(const char *bridge, std::uint32_t insert) {
    return set_number(__func__, bridge, &pppoeia_bridge::vsa_insert_circuit_id, insert);
}

int cache_pppoeia_bridge_vsa_insert_circuit_id_get(const char *bridge, std::uint32_t *out) {
    return get_number(__func__, bridge, &pppoeia_bridge::vsa_insert_circuit_id, out);
}

int cache_pppoeia_bridge_vsa_insert_remote_id_set(const char *bridge, std::uint32_t insert) {
    return set_number(__func__, bridge, &pppoeia_bridge::vsa_insert_remote_id, insert);
}

int cache_pppoeia_bridge_vsa_insert_remote_id_get(const char *bridge, std::uint32_t *out) {
    return get_number(__func__, bridge, &pppoeia_bridge::vsa_insert_remote_id, out);
}

int cache_pppoeia_bridge_shelf_id_set(const char *bridge, const char *shelf) {
    trace_call(__func__, bridge, shelf);
    return on_bridge(__func__, bridge, [&, operation = __func__](pppoeia_bridge &b) {
        if (!fits(b.shelf_id, shelf)) return trace_result(operation, refuse(operation, -ENOSPC));
        copy_text(b.shelf_id, shelf);
        return 0;
    });
}

int cache_pppoeia_bridge_shelf_id_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::shelf_id, out);
}

int cache_pppoeia_bridge_chassis_id_set(const char *bridge, std::uint32_t chassis) {
    return set_number(__func__, bridge, &pppoeia_bridge::chassis_id, chassis);
}

int cache_pppoeia_bridge_chassis_id_get(const char *bridge, std::uint32_t *out) {
    return get_number(__func__, bridge, &pppoeia_bridge::chassis_id, out);
}

int cache_pppoeia_bridge_vsa_circuit_id_cvlan_set(const char *bridge, std::uint32_t flag) {
    return set_number(__func__, bridge, &pppoeia_bridge::vsa_circuit_id_cvlan, flag);
}

int cache_pppoeia_bridge_vsa_circuit_id_cvlan_get(const char *bridge, std::uint32_t *out) {
    return get_number(__func__, bridge, &pppoeia_bridge::vsa_circuit_id_cvlan, out);
}

// --- formats for subscriber IDs ----------------------------------------------

namespace {

int set_format(const char *operation, const char *bridge,
               char (pppoeia_bridge::*field)[PPPOEIA_FORMAT_SIZE], const char *format,
               const char *message) {
    trace_call(operation, bridge, format);
    const LockedBridge found(bridge);
    if (!found) return refuse(operation, -ENOENT);
    if (!fits((*found).*field, format)) return refuse(operation, -ENOSPC);
    copy_text((*found).*field, format);
    pppoeia_log(7, message, found->name);
    pppoeia_log(7, "%s()=%s", operation, format);
    return 0;
}

}  // namespace

int cache_pppoeia_circuit_id_format_set(const char *bridge, const char *format) {
    return set_format(__func__, bridge, &pppoeia_bridge::cid_format, format,
                      "<%s> Custom CID format set.");
}

int cache_pppoeia_circuit_id_format_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::cid_format, out);
}

int cache_pppoeia_remote_id_format_set(const char *bridge, const char *format) {
    return set_format(__func__, bridge, &pppoeia_bridge::rid_format, format,
                      "<%s> Custom RID format set.");
}

int cache_pppoeia_remote_id_format_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::rid_format, out);
}
