// Client functions for bridges and their settings.
#include "client/request.h"
#include "pppoeia/client.h"

int pppoeia_bridge_add(const char *bridge, std::uint32_t ports) {
    return ia::call<pppoeia_bridge_add>(bridge, ports);
}

int pppoeia_bridge_del(const char *bridge) {
    return ia::call<pppoeia_bridge_del>(bridge);
}

int pppoeia_apply_default_settings(const char *bridge) {
    return ia::call<pppoeia_apply_default_settings>(bridge);
}

int pppoeia_bridge_max_pdu_set(const char *bridge, std::uint32_t pdu) {
    return ia::call<pppoeia_bridge_max_pdu_set>(bridge, pdu);
}

int pppoeia_bridge_state_set(const char *bridge, std::uint32_t state) {
    return ia::call<pppoeia_bridge_state_set>(bridge, state);
}

int pppoeia_bridge_vlan_set(const char *bridge, std::uint16_t vid, std::uint32_t enable) {
    return ia::call<pppoeia_bridge_vlan_set>(bridge, vid, enable);
}

int pppoeia_bridge_vlan_set_all(const char *bridge, std::uint32_t enable) {
    return ia::call<pppoeia_bridge_vlan_set_all>(bridge, enable);
}

int pppoeia_bridge_vendor_set(const char *bridge, const char *vendor) {
    return ia::call<pppoeia_bridge_vendor_set>(bridge, vendor);
}

int pppoeia_bridge_vsa_mode_set(const char *bridge, std::uint32_t mode) {
    return ia::call<pppoeia_bridge_vsa_mode_set>(bridge, mode);
}

int pppoeia_bridge_vsa_insert_circuit_id_set(const char *bridge, std::uint32_t insert) {
    return ia::call<pppoeia_bridge_vsa_insert_circuit_id_set>(bridge, insert);
}

int pppoeia_bridge_vsa_insert_remote_id_set(const char *bridge, std::uint32_t insert) {
    return ia::call<pppoeia_bridge_vsa_insert_remote_id_set>(bridge, insert);
}

int pppoeia_bridge_vsa_circuit_id_cvlan_set(const char *bridge, std::uint32_t flag) {
    return ia::call<pppoeia_bridge_vsa_circuit_id_cvlan_set>(bridge, flag);
}

int pppoeia_bridge_shelf_id_set(const char *bridge, const char *shelf) {
    return ia::call<pppoeia_bridge_shelf_id_set>(bridge, shelf);
}

int pppoeia_bridge_chassis_id_set(const char *bridge, std::uint32_t chassis) {
    return ia::call<pppoeia_bridge_chassis_id_set>(bridge, chassis);
}

int pppoeia_circuit_id_format_set(const char *bridge, const char *format) {
    return ia::call<pppoeia_circuit_id_format_set>(bridge, format);
}

int pppoeia_remote_id_format_set(const char *bridge, const char *format) {
    return ia::call<pppoeia_remote_id_format_set>(bridge, format);
}

int pppoeia_bridge_stats_get(const char *bridge, pppoeia_stats *out) {
    return ia::call<pppoeia_bridge_stats_get>(bridge, out);
}

int pppoeia_bridge_stats_reset(const char *bridge) {
    return ia::call<pppoeia_bridge_stats_reset>(bridge);
}

int pppoeia_bridge_contact_set(const char *bridge, const char *contact) {
    return ia::call<pppoeia_bridge_contact_set>(bridge, contact);
}

int pppoeia_bridge_location_set(const char *bridge, const char *location) {
    return ia::call<pppoeia_bridge_location_set>(bridge, location);
}

int pppoeia_bridge_sysname_set(const char *bridge, const char *sysname) {
    return ia::call<pppoeia_bridge_sysname_set>(bridge, sysname);
}
