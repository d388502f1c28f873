// Ports.
#include "client/request.h"
#include "pppoeia/client.h"

int pppoeia_port_add(const char *bridge, std::uint32_t port, const char *dev_name,
                     const char *port_name, const pppoeia_port_info *info) {
    return ia::call<pppoeia_port_add>(bridge, port, dev_name, port_name, info);
}

int pppoeia_port_del(const char *bridge, std::uint32_t port) {
    return ia::call<pppoeia_port_del>(bridge, port);
}

int pppoeia_port_name_update(const char *bridge, std::uint32_t port, const char *port_name,
                             const pppoeia_port_location *location) {
    return ia::call<pppoeia_port_name_update>(bridge, port, port_name, location);
}

int pppoeia_port_state_set(const char *bridge, std::uint32_t port, std::int32_t state) {
    return ia::call<pppoeia_port_state_set>(bridge, port, state);
}

int pppoeia_port_state_set_all(const char *bridge, std::uint32_t state) {
    return ia::call<pppoeia_port_state_set_all>(bridge, state);
}

int pppoeia_port_trust_set(const char *bridge, std::uint32_t port, std::uint32_t trust) {
    return ia::call<pppoeia_port_trust_set>(bridge, port, trust);
}

int pppoeia_port_trust_set_all(const char *bridge, std::uint32_t trust) {
    return ia::call<pppoeia_port_trust_set_all>(bridge, trust);
}

int pppoeia_port_remote_id_set(const char *bridge, std::uint32_t port, const char *remote_id) {
    return ia::call<pppoeia_port_remote_id_set>(bridge, port, remote_id);
}

int pppoeia_port_vsa_circuit_id_mode_set(const char *bridge, std::uint32_t port,
                                         std::uint32_t mode) {
    return ia::call<pppoeia_port_vsa_circuit_id_mode_set>(bridge, port, mode);
}

int pppoeia_port_pvc_set(const char *bridge, std::uint32_t port, std::uint32_t vpi,
                         std::uint32_t vci) {
    return ia::call<pppoeia_port_pvc_set>(bridge, port, vpi, vci);
}

int pppoeia_port_parent_set(const char *bridge, std::uint32_t port, std::uint32_t parent) {
    return ia::call<pppoeia_port_parent_set>(bridge, port, parent);
}

int pppoeia_port_stats_get(const char *bridge, std::uint32_t port, pppoeia_stats *out) {
    return ia::call<pppoeia_port_stats_get>(bridge, port, out);
}

int pppoeia_port_stats_reset(const char *bridge, std::uint32_t port) {
    return ia::call<pppoeia_port_stats_reset>(bridge, port);
}

int pppoeia_bridge_intf_descr_set(const char *bridge, std::uint32_t port, const char *descr) {
    return ia::call<pppoeia_bridge_intf_descr_set>(bridge, port, descr);
}

int pppoeia_bridge_cpe_serial_set(const char *bridge, std::uint32_t port, const char *serial) {
    return ia::call<pppoeia_bridge_cpe_serial_set>(bridge, port, serial);
}

int pppoeia_bridge_cpe_mac_set(const char *bridge, std::uint32_t port, pppoeia_mac mac) {
    return ia::call<pppoeia_bridge_cpe_mac_set>(bridge, port, mac);
}

int gen_circuit_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid, char *out) {
    return ia::call<gen_circuit_id_by_intf_vlan>(bridge, port, vid, out);
}

int gen_remote_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid, char *out) {
    return ia::call<gen_remote_id_by_intf_vlan>(bridge, port, vid, out);
}
