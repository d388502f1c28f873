// Chooses a subscriber's Circuit ID and Remote ID.
//
// `out` holds 64 bytes; a longer ID is cut. `bin_id` is empty on entry: if it is
// filled, the ID is binary and the text in `out` is ignored. The caller holds the
// bridge's lock. The default forms allocate nothing.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"

#include <cstdint>
#include <vector>

// The Circuit ID for the port and VLAN (low 12 bits set: none), by the mode of the
// port's VLAN entry, else of the port. `out` does not change when the mode is not
// set or a PVC's data is missing.
void pppoeia_build_circuit_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                              unsigned short vid, std::vector<std::uint8_t> &bin_id,
                              idGenType gen_type);

// The Remote ID from the format of the port's VLAN entry, else of the bridge; empty
// without a format. Always 0.
int pppoeia_build_remote_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                            unsigned short vid, std::vector<std::uint8_t> &bin_id,
                            idGenType gen_type);
