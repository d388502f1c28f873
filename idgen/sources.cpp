// Where each macro's value comes from.
#include "idgen/resolver.h"

#include "fe/base/local_mac.h"
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/id_memory.h"
#include "platform/ncfm.h"
#include "store/accessors.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ia {
namespace {

const pppoeia_port *port_of(const subscriber &who) {
    if (!who.port)
        IA_TRACE("<%s> >> pppoeia_port_index_find_by_id failed for port %d", who.bridge.name,
                 who.port_id);
    return who.port;
}

const pppoeia_port *parent_of(const subscriber &who, const pppoeia_port &port) {
    const pppoeia_port *parent = find_port(who.bridge, port.parent_id);
    if (!parent)
        IA_TRACE("<%s> >> pppoeia_port_index_find_by_id failed for parent port %d", who.bridge.name,
                 port.parent_id);
    return parent;
}

// The ONU above a GEM port; null for other kinds of port.
const pppoeia_port *onu_of(const subscriber &who) {
    const pppoeia_port *port = port_of(who);
    if (!port) return nullptr;
    if (port->intf_kind != INTF_KIND_GEM) {
        IA_TRACE("<%s> >> invalid intf type for port %d", who.bridge.name, who.port_id);
        return nullptr;
    }
    return parent_of(who, *port);
}

// The first management port; null when there is none. It is remembered: a bridge
// may have thousands of ports, and each frame would search them.
const pppoeia_port *management_port(const pppoeia_bridge &bridge) {
    IdMemory *memory = bridge.ids.get();
    const bool kept = memory && memory->revision != 0 && memory->revision == bridge.revision;
    if (kept && memory->management_sought) return memory->management;
    const auto found =
        std::ranges::find(bridge.ports, INTF_KIND_MANAGEMENT, &pppoeia_port::intf_kind);
    const pppoeia_port *port = found == bridge.ports.end() ? nullptr : &*found;
    if (kept) {
        memory->management = port;
        memory->management_sought = true;
    }
    return port;
}

bool is_zero(const pppoeia_mac &mac) {
    return std::ranges::all_of(mac.bytes, [](std::uint8_t byte) { return byte == 0; });
}

constexpr auto pairs_of_digits() {
    constexpr char digits[] = "0123456789ABCDEF";
    std::array<std::array<char, 2>, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte)
        pairs[byte] = {digits[byte >> 4], digits[byte & 0xF]};
    return pairs;
}
constexpr auto hex_pairs = pairs_of_digits();

void put_mac(const pppoeia_mac &mac, TextWriter &text) {
    char pairs[] = "??:??:??:??:??:??";
    for (std::size_t i = 0; i < sizeof mac.bytes; ++i)
        std::memcpy(pairs + 3 * i, hex_pairs[mac.bytes[i]].data(), 2);
    text << std::string_view(pairs, sizeof pairs - 1);
}

// A PVC's number, signed: -1 when not set.
void pvc_number(const subscriber &who, std::uint32_t pppoeia_port::*number, TextWriter &value) {
    if (!who.port)
        IA_TRACE("<%s> >> pppoeia_port_index_find failed for port %d'", who.bridge.name,
                 who.port_id);
    else if (who.port->intf_kind != INTF_KIND_ATM_PVC)
        IA_TRACE("<%s> >> Non-PVC interface\n", who.bridge.name);
    else
        value << static_cast<std::int32_t>(who.port->*number);
}

// A number of the port's location, which only these kinds of port have.
template <std::uint32_t... Kinds>
void place_number(const subscriber &who, std::uint32_t pppoeia_port_location::*number,
                  const char *other_kind, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (!port) return;
    if (((port->intf_kind == Kinds) || ...))
        value << port->location.*number;
    else
        IA_TRACE(other_kind, who.bridge.name);
}

}  // namespace

namespace source {

void shelf(const subscriber &who, TextWriter &value) {
    value << who.bridge.shelf_id;
}

void chassis(const subscriber &who, TextWriter &value) {
    value << static_cast<std::int32_t>(who.bridge.chassis_id);
}

void panel(const subscriber &who, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (!port) return;
    const pppoeia_port_location &place = port->location;
    if (place.panel_validity > 1)
        IA_TRACE("<%s> >> Cannot read valid panel", who.bridge.name);
    else
        value << std::string_view(place.panel, strnlen(place.panel, sizeof place.panel - 1));
}

void intf_type(const subscriber &who, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (!port) return;
    value << port->intf_type;
    if (port->intf_type[0] == '\0')
        IA_TRACE("<%s> >> Cannot read valid intf type", who.bridge.name);
}

void agent_board(const subscriber &who, TextWriter &value) {
    std::uint8_t position = 0;
    if (ncfmGetMyBoardPos(&position) == 0)
        value << position;
    else
        IA_TRACE("<%s> >> Cannot read ncfmGetMyBoardPos", who.bridge.name);
}

void board(const subscriber &who, TextWriter &) {
    IA_TRACE("<%s> >> Cannot read valid board type", who.bridge.name);
}

void port(const subscriber &who, TextWriter &value) {
    if (const pppoeia_port *port = port_of(who)) value << port->location.port;
}

// A PVC or GEM port without a Remote ID of its own uses its parent's.
void port_rem_id(const subscriber &who, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (!port) return;
    char remote_id[PPPOEIA_REMOTE_ID_SIZE];
    if (br_port_remote_id_get(who.bridge, who.port_id, remote_id) != 0) {
        IA_TRACE("<%s> >> pppoeia_port_remote_id_get failed for port %d", who.bridge.name,
                 who.port_id);
        return;
    }
    value << remote_id;
    const bool may_inherit =
        port->intf_kind == INTF_KIND_ATM_PVC || port->intf_kind == INTF_KIND_GEM;
    if (remote_id[0] != '\0' || !may_inherit) return;
    if (br_port_remote_id_get(who.bridge, port->parent_id, remote_id) != 0) {
        IA_TRACE("<%s> >> pppoeia_port_remote_id_get failed for parent port %d", who.bridge.name,
                 port->parent_id);
        return;
    }
    IA_TRACE("<%s> >> Adding PORT_REM_ID from parent id: %d.", who.bridge.name, port->parent_id);
    value << remote_id;
}

void intf(const subscriber &who, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (!port) return;
    value << port->port_name;
    if (port->port_name[0] == '\0') IA_TRACE("<%s> >> Invalid port_id\n", who.bridge.name);
}

void intf_dscr(const subscriber &who, TextWriter &value) {
    const pppoeia_port *port = port_of(who);
    if (port && port->intf_kind == INTF_KIND_GEM) {
        const std::uint32_t parent_id = port->parent_id;
        port = parent_of(who, *port);
        if (port)
            IA_TRACE("<%s> >> Adding INTF_DSCR from parent id: %d.", who.bridge.name, parent_id);
    }
    if (port) value << port->intf_descr;
}

void onu(const subscriber &who, TextWriter &value) {
    place_number<INTF_KIND_ONU, INTF_KIND_GEM>(who, &pppoeia_port_location::onu_or_pvc,
                                               "<%s> >> Not ONU or GEM interface", value);
}

void vgem(const subscriber &who, TextWriter &value) {
    place_number<INTF_KIND_GEM>(who, &pppoeia_port_location::gem, "<%s> >> Not GEM interface",
                                value);
}

void pvc_intf(const subscriber &who, TextWriter &value) {
    place_number<INTF_KIND_ATM_PVC>(who, &pppoeia_port_location::onu_or_pvc,
                                    "<%s> >> Non-PVC interface\n", value);
}

void vpi(const subscriber &who, TextWriter &value) {
    pvc_number(who, &pppoeia_port::vpi, value);
}

void vci(const subscriber &who, TextWriter &value) {
    pvc_number(who, &pppoeia_port::vci, value);
}

void clnt_mac(const subscriber &who, TextWriter &value) {
    if (!who.client_mac)
        IA_TRACE("<%s> >> Invalid frame )\n", who.bridge.name);
    else if (is_zero(*who.client_mac))
        IA_TRACE("<%s> >> MAC is NULL\n", who.bridge.name);
    else
        put_mac(*who.client_mac, value);
}

void agent_mac(const subscriber &who, TextWriter &value) {
    pppoeia_mac mac{};
    if (pppoeia_get_local_mac(mac.bytes) != 0)
        IA_TRACE("<%s> >> pppoeia_get_local_mac failed\n", who.bridge.name);
    else if (is_zero(mac))
        IA_TRACE("<%s> >> MAC is NULL\n", who.bridge.name);
    else
        put_mac(mac, value);
}

// The address of the node's management interface.
void agent_ipv4(const subscriber &who, TextWriter &value) {
    const pppoeia_port *management = management_port(who.bridge);
    if (!management) {
        IA_TRACE("<%s> >> pppoeia_port_index_find_by_type failed for port %d\n", who.bridge.name,
                 who.port_id);
        return;
    }
    ncfm_interface request{};
    std::memcpy(request.name, management->dev_name, sizeof request.name - 1);
    const auto &ip = request.ipv4;
    if (ncfmGetInterface(&request) != 0 || (ip[0] | ip[1] | ip[2] | ip[3]) == 0) {
        IA_TRACE("<%s> >> ip NULL \n", who.bridge.name);
        return;
    }
    value << ip[0];
    for (const std::uint8_t octet : {ip[1], ip[2], ip[3]}) value << "." << octet;
}

void agent_ipv6(const subscriber &who, TextWriter &value) {
    ncfm_ipv6 block{};
    if (ncfmGetIpv6(&block) != 0) {
        IA_TRACE("<%s> >> getIpv6Addr: ncfmGetIpv6 has failed\n", who.bridge.name);
        return;
    }
    for (char &c : block.address)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    value << text_of(block.address);
    if (block.address[0] == '\0') IA_TRACE("<%s> >> ipv6_addr is NULL\n", who.bridge.name);
}

void vlan(const subscriber &who, TextWriter &value) {
    if (is_vlan(who.vid))
        value << who.vid;
    else
        IA_TRACE("<%s> >> Invalid VLAN\n", who.bridge.name);
}

void vlan_name(const subscriber &who, TextWriter &value) {
    if (!is_vlan(who.vid)) {
        IA_TRACE("<%s> >> Invalid VLAN\n", who.bridge.name);
        return;
    }
    const auto entry = who.bridge.vlans.find(who.vid);
    if (entry != who.bridge.vlans.end())
        value << entry->second.name;
    else
        IA_TRACE("<%s> >> Cannot read VLAN name\n", who.bridge.name);
}

void cvid(const subscriber &who, TextWriter &value) {
    if (is_vlan(who.cvid))
        value << who.cvid;
    else
        IA_TRACE("<%s> >> Invalid CVID\n", who.bridge.name);
}

void sysname(const subscriber &who, TextWriter &value) {
    value << who.bridge.sysname;
}

void location(const subscriber &who, TextWriter &value) {
    value << who.bridge.location;
}

void contact(const subscriber &who, TextWriter &value) {
    value << who.bridge.contact;
}

void cpe_serial(const subscriber &who, TextWriter &value) {
    if (const pppoeia_port *onu = onu_of(who)) value << onu->cpe_serial;
}

void cpe_mac(const subscriber &who, TextWriter &value) {
    const pppoeia_port *onu = onu_of(who);
    if (!onu) return;
    if (is_zero(onu->cpe_mac))
        IA_TRACE("<%s> >> MAC is NULL", who.bridge.name);
    else
        put_mac(onu->cpe_mac, value);
}

}  // namespace source
}  // namespace ia
