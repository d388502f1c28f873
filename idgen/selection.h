// Decides what Circuit ID and Remote ID a subscriber gets.
//
// `out` holds 64 bytes; what does not fit is cut. `binId` comes empty: when it
// is filled the ID is binary, and the text in `out` does not count. The caller
// holds the bridge's lock. The default forms allocate nothing.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"

#include <cstdint>
#include <vector>

// The Circuit ID for the port and VLAN (low 12 bits set: none), as the mode of
// the port's VLAN entry, else of the port, says. `out` stays as it was when the
// mode says nothing, or a PVC's data is missing.
void pppoeia_build_circuit_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                              unsigned short vid, std::vector<std::uint8_t> &binId,
                              idGenType genType);

// The Remote ID, from the format of the port's VLAN entry, else of the bridge;
// empty without a format. Always 0.
int pppoeia_build_remote_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                            unsigned short vid, std::vector<std::uint8_t> &binId,
                            idGenType genType);
