// Records, enumerations and exchanged blocks of the PPPoE Intermediate Agent.
//
// The blocks travel between the two processes of one node as they stand, so
// every size and offset is fixed here; numbers are in host byte order.
#pragma once

#include <cstddef>
#include <cstdint>

// What a port may send (state of a port).
enum pppoeia_port_state : std::uint32_t {
    PPPOEIA_PORT_DISABLED = 0,  // frames pass unchanged
    PPPOEIA_PORT_CLIENT = 1,    // only PADI, PADR and PADT are accepted from it
    PPPOEIA_PORT_SERVER = 2,    // only PADO, PADS and PADT are accepted from it
    PPPOEIA_PORT_BOTH = 3,      // client and server frames are accepted
};

// Whether a Vendor-Specific tag may arrive on a port.
enum pppoeia_port_trust : std::uint32_t {
    PPPOEIA_PORT_TRUSTED = 0,
    PPPOEIA_PORT_UNTRUSTED = 1,
};

// How a Circuit ID is built, per port or per port and VLAN.
enum pppoeia_cid_mode : std::uint32_t {
    PPPOEIA_CID_DEFAULT = 0,          // default Ethernet form
    PPPOEIA_CID_ATM = 1,              // default ATM form, from the port's PVC
    PPPOEIA_CID_CUSTOM = 2,           // from a format string
    PPPOEIA_CID_NOT_SET = 0xFFFFFFFF  // port-VLAN entries only
};

// What happens to a Vendor-Specific tag in a PADO or PADS.
enum pppoeia_vsa_mode : std::uint32_t {
    PPPOEIA_VSA_KEEP = 0,
    PPPOEIA_VSA_REMOVE = 1,
};

// Sizes of the fixed text fields, in bytes with the terminator.
inline constexpr std::size_t PPPOEIA_BRIDGE_NAME_MAX = 10;  // characters, without the terminator
inline constexpr std::size_t PPPOEIA_VENDOR_SIZE = 20;
inline constexpr std::size_t PPPOEIA_SHELF_ID_SIZE = 40;
inline constexpr std::size_t PPPOEIA_SYSTEM_TEXT_SIZE = 65;
inline constexpr std::size_t PPPOEIA_FORMAT_SIZE = 129;
inline constexpr std::size_t PPPOEIA_REMOTE_ID_SIZE = 64;
inline constexpr std::size_t PPPOEIA_ID_SIZE = 64;  // a generated ID: at most 63 characters
inline constexpr std::size_t PPPOEIA_CPE_SERIAL_SIZE = 13;
inline constexpr std::size_t PPPOEIA_VLAN_NAME_SIZE = 32;
inline constexpr std::size_t PPPOEIA_PORT_NAME_SIZE = 15;

// A MAC address, passed by value.
struct pppoeia_mac {
    std::uint8_t bytes[6];
};

// Discovery counters of a bridge or a port; they wrap at 2^32.
struct pppoeia_stats {
    std::uint32_t padi;
    std::uint32_t padr;
    std::uint32_t pado;
    std::uint32_t pads;
    std::uint32_t padt;
    std::uint32_t dropped;       // wrong role, or a tag from an untrusted port
    std::uint32_t unknown_code;  // any other Discovery code
    std::uint32_t truncated;     // the payload ran past the frame's end
    std::uint32_t bypassed;      // PPPoE is disabled on the port
};

// An interface's place in the node. The store keeps it whole.
struct pppoeia_port_location {
    char panel[8];  // panel label, at most 7 characters
    std::uint16_t value;
    std::uint8_t padding[2];
    std::uint32_t panel_validity;  // above 1: no valid panel
    std::uint32_t port;
    std::uint32_t onu_or_pvc;  // ONU number, or PVC interface number
    std::uint32_t gem;
};

// The port description given when a port is added.
struct pppoeia_port_info {
    std::uint32_t parent_id;
    char intf_type[12];  // at most 9 characters are stored
    std::uint32_t intf_kind;
    pppoeia_port_location location;
};

// One port-VLAN entry, as the readers hand it out.
struct pppoeia_port_vlan_info {
    std::uint16_t vlan_id;
    std::uint8_t padding1[2];
    std::uint32_t cid_mode;
    char cid_format[PPPOEIA_FORMAT_SIZE];
    char rid_format[PPPOEIA_FORMAT_SIZE];
    std::uint8_t padding2[2];
};

static_assert(sizeof(pppoeia_mac) == 6);
static_assert(sizeof(pppoeia_stats) == 36);
static_assert(offsetof(pppoeia_stats, dropped) == 20 && offsetof(pppoeia_stats, bypassed) == 32);
static_assert(sizeof(pppoeia_port_location) == 28);
static_assert(offsetof(pppoeia_port_location, value) == 8);
static_assert(offsetof(pppoeia_port_location, panel_validity) == 12);
static_assert(offsetof(pppoeia_port_location, port) == 16);
static_assert(offsetof(pppoeia_port_location, onu_or_pvc) == 20);
static_assert(offsetof(pppoeia_port_location, gem) == 24);
static_assert(sizeof(pppoeia_port_info) == 48);
static_assert(offsetof(pppoeia_port_info, intf_type) == 4);
static_assert(offsetof(pppoeia_port_info, intf_kind) == 16);
static_assert(offsetof(pppoeia_port_info, location) == 20);
static_assert(sizeof(pppoeia_port_vlan_info) == 268);
static_assert(offsetof(pppoeia_port_vlan_info, cid_mode) == 4);
static_assert(offsetof(pppoeia_port_vlan_info, cid_format) == 8);
static_assert(offsetof(pppoeia_port_vlan_info, rid_format) == 137);
