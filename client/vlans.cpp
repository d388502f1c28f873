// Port-VLAN entries and named VLANs.
#include "client/request.h"
#include "pppoeia/client.h"

int pppoeia_port_vlan_add(const char *bridge, std::uint32_t port, std::uint16_t vid) {
    return ia::call<pppoeia_port_vlan_add>(bridge, port, vid);
}

int pppoeia_port_vlan_del(const char *bridge, std::uint32_t port, std::uint16_t vid) {
    return ia::call<pppoeia_port_vlan_del>(bridge, port, vid);
}

int pppoeia_circuit_id_mode_port_vlan_set(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                          std::uint32_t mode) {
    return ia::call<pppoeia_circuit_id_mode_port_vlan_set>(bridge, port, vid, mode);
}

int pppoeia_circuit_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                            std::uint16_t vid, const char *format) {
    return ia::call<pppoeia_circuit_id_format_port_vlan_set>(bridge, port, vid, format);
}

int pppoeia_remote_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                           std::uint16_t vid, const char *format) {
    return ia::call<pppoeia_remote_id_format_port_vlan_set>(bridge, port, vid, format);
}

int clear_port_vlan(const char *bridge, std::uint32_t port) {
    return ia::call<clear_port_vlan>(bridge, port);
}

int clear_port_vlan_all(const char *bridge) {
    return ia::call<clear_port_vlan_all>(bridge);
}

int pppoeia_vlan_add(const char *bridge, std::uint16_t vid) {
    return ia::call<pppoeia_vlan_add>(bridge, vid);
}

int pppoeia_vlan_del(const char *bridge, std::uint16_t vid) {
    return ia::call<pppoeia_vlan_del>(bridge, vid);
}

int pppoeia_vlan_name_set(const char *bridge, std::uint16_t vid, const char *name) {
    return ia::call<pppoeia_vlan_name_set>(bridge, vid, name);
}

int clear_vlan(const char *bridge) {
    return ia::call<clear_vlan>(bridge);
}
