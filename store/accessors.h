// Readers of one value of a bridge. The caller holds the bridge's lock. The store's
// getters and the ID generation use them.
//
// They return 0, -19 for an invalid or absent port, or -2 when the port has no
// entry for the VLAN. A refusal is traced (level 7) under the reader's name and
// does not change the output.
#pragma once

#include "store/bridge.h"

#include <cstdint>

int br_port_vsa_circuit_id_mode_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                    std::uint32_t *out);

// 1 when an output is null or the port is not an ATM port.
int br_port_pvc_get(const pppoeia_bridge &bridge, std::uint32_t port, std::uint32_t *vpi,
                    std::uint32_t *vci);

// `out` holds 64 bytes.
int br_port_remote_id_get(const pppoeia_bridge &bridge, std::uint32_t port, char *out);

// 1 when the output is null.
int br_port_parent_get(const pppoeia_bridge &bridge, std::uint32_t port, std::uint32_t *out);

int br_circuit_id_mode_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                     std::uint16_t vid, std::uint32_t *out);

// `out` holds 129 bytes.
int br_circuit_id_format_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                       std::uint16_t vid, char *out);
int br_remote_id_format_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                      std::uint16_t vid, char *out);
