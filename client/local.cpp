// Client functions that read: they answer from this process's own store.
#include "pppoeia/client.h"
#include "pppoeia/store.h"

int pppoeia_log_level_get(std::int32_t *out) {
    return cache_pppoeia_log_level_get(out);
}

int pppoeia_debug_admin_state_get(std::uint32_t *out) {
    return cache_pppoeia_debug_admin_state_get(out);
}

int pppoeia_bridge_max_pdu_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_max_pdu_get(bridge, out);
}

int pppoeia_bridge_state_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_state_get(bridge, out);
}

int pppoeia_bridge_vlan_get(const char *bridge, std::uint16_t vid, std::uint32_t *out) {
    return cache_pppoeia_bridge_vlan_get(bridge, vid, out);
}

int pppoeia_bridge_vendor_get(const char *bridge, char *out) {
    return cache_pppoeia_bridge_vendor_get(bridge, out);
}

int pppoeia_bridge_debug_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_debug_get(bridge, out);
}

int pppoeia_bridge_vsa_mode_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_vsa_mode_get(bridge, out);
}

int pppoeia_bridge_vsa_insert_circuit_id_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_vsa_insert_circuit_id_get(bridge, out);
}

int pppoeia_bridge_vsa_insert_remote_id_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_vsa_insert_remote_id_get(bridge, out);
}

int pppoeia_bridge_shelf_id_get(const char *bridge, char *out) {
    return cache_pppoeia_bridge_shelf_id_get(bridge, out);
}

int pppoeia_bridge_chassis_id_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_chassis_id_get(bridge, out);
}

int pppoeia_bridge_vsa_circuit_id_cvlan_get(const char *bridge, std::uint32_t *out) {
    return cache_pppoeia_bridge_vsa_circuit_id_cvlan_get(bridge, out);
}

int pppoeia_circuit_id_format_get(const char *bridge, char *out) {
    return cache_pppoeia_circuit_id_format_get(bridge, out);
}

int pppoeia_remote_id_format_get(const char *bridge, char *out) {
    return cache_pppoeia_remote_id_format_get(bridge, out);
}

int pppoeia_port_state_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    return cache_pppoeia_port_state_get(bridge, port, out);
}

int pppoeia_port_trust_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    return cache_pppoeia_port_trust_get(bridge, port, out);
}

int pppoeia_port_remote_id_get(const char *bridge, std::uint32_t port, char *out) {
    return cache_pppoeia_port_remote_id_get(bridge, port, out);
}

int pppoeia_port_circuit_id_get(const char *bridge, unsigned port, char *out) {
    return cache_pppoeia_port_circuit_id_get(bridge, port, out);
}

int pppoeia_port_vsa_circuit_id_mode_get(const char *bridge, std::uint32_t port,
                                         std::uint32_t *out) {
    return cache_pppoeia_port_vsa_circuit_id_mode_get(bridge, port, out);
}

int pppoeia_port_pvc_get(const char *bridge, std::uint32_t port, std::uint32_t *vpi,
                         std::uint32_t *vci) {
    return cache_pppoeia_port_pvc_get(bridge, port, vpi, vci);
}

int pppoeia_port_parent_get(const char *bridge, std::uint32_t port, std::uint32_t *out) {
    return cache_pppoeia_port_parent_get(bridge, port, out);
}

int pppoeia_circuit_id_mode_port_vlan_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                          std::uint32_t *out) {
    return cache_pppoeia_circuit_id_mode_port_vlan_get(bridge, port, vid, out);
}

int pppoeia_circuit_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                            std::uint16_t vid, char *out) {
    return cache_pppoeia_circuit_id_format_port_vlan_get(bridge, port, vid, out);
}

int pppoeia_remote_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                           std::uint16_t vid, char *out) {
    return cache_pppoeia_remote_id_format_port_vlan_get(bridge, port, vid, out);
}

int pppoeia_port_vlan_get_first(const char *bridge, std::uint32_t port,
                                pppoeia_port_vlan_info *out) {
    return cache_pppoeia_port_vlan_get_first(bridge, port, out);
}

int pppoeia_port_vlan_get_next(const char *bridge, std::uint32_t port, std::uint16_t vid,
                               pppoeia_port_vlan_info *out) {
    return cache_pppoeia_port_vlan_get_next(bridge, port, vid, out);
}

int pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                               pppoeia_port_vlan_info *out) {
    return cache_pppoeia_port_vlan_info_get(bridge, port, vid, out);
}
