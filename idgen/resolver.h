// Finds the values of macros: in the bridge and its ports, in the frame being
// processed, in the test data, or from the platform.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"

#include <cstdint>
#include <optional>
#include <string>

// The macro's value as text, for the subscriber on port `intf_id`, VLAN `vid` and
// customer VLAN `cvid` (0xFFF: none), or for the test data's subscriber. Empty,
// with a trace, when there is no value now; false when the macro never has one
// (TCONT, and HEX, whose value stands in the format). The caller holds the bridge's
// lock.
bool getMacroStringValue(const pppoeia_bridge *bridge, customIdFormat type, std::string &value,
                         unsigned intf_id, idGenType gen_type, unsigned short vid,
                         unsigned short cvid);

namespace ia {

inline constexpr std::uint16_t no_vlan = 0x0FFF;  // in the low 12 bits of a VLAN id

constexpr bool is_vlan(std::uint16_t vid) {
    return (vid & no_vlan) != no_vlan;
}

// The port with this id, deleted ports included; null when there is none. A slot's
// id is its own or, if never used, 0. Id 0 (a port without parent) gives a
// never-used slot; they are all alike, and the last slot is always one.
inline const pppoeia_port *find_port(const pppoeia_bridge &bridge, std::uint32_t id) {
    const std::uint32_t slot = id == 0 ? bridge.port_limit : id;
    if (slot == 0 || slot > bridge.port_limit) return nullptr;
    const pppoeia_port &port = bridge.ports[slot - 1];
    return port.port_id == id ? &port : nullptr;
}

// The subscriber whose ID is made.
struct subscriber {
    const pppoeia_bridge &bridge;
    std::uint32_t port_id;
    std::uint16_t vid;
    std::uint16_t cvid;
    std::optional<pppoeia_mac> client_mac;  // none without a frame
    const pppoeia_port *port = find_port(bridge, port_id);
};

subscriber subscriber_of(const pppoeia_bridge &bridge, std::uint32_t port, std::uint16_t vid,
                         std::uint16_t cvid, idGenType gen_type);

namespace source {

MacroSource shelf, chassis, panel, intf_type, agent_board, board, port, port_rem_id, intf,
    intf_dscr, onu, vgem, pvc_intf, vpi, vci, clnt_mac, agent_mac, agent_ipv4, agent_ipv6, vlan,
    vlan_name, cvid, sysname, location, contact, cpe_serial, cpe_mac;

}  // namespace source
}  // namespace ia
