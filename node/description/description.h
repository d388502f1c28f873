// The node description: a plain Linux machine as the agent sees it, read from one
// TOML file. Plain values; read-only after reading.
#pragma once

#include "node/description/limits.h"
#include "node/description/settings_records.h"
#include "pppoeia/records.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ia::node {

// The platform's interface types, with their TOML words.
enum class InterfaceType : std::uint32_t {
    eth = 0,     // "eth": Ethernet towards the network
    dsl = 1,     // "dsl"
    atm = 2,     // "atm": PVC of a DSL port
    olt = 3,     // "olt": GPON port
    onu = 4,     // "onu": child of an OLT port
    gem = 5,     // "gem": child of an ONU
    mng = 6,     // "mng": the node's management interface
    lag = 7,     // "lag": link aggregation towards the network
    access = 8,  // "access": Ethernet towards a subscriber
};

// Properties of an interface type.
struct TypeFacts {
    InterfaceType type;
    std::string_view word;                // in a description
    bool faces_network;                   // else a subscriber, or nobody
    bool stands_in_bridge;                // its device is a port of the Linux bridge
    std::optional<InterfaceType> parent;  // the type of the interface below it
    std::uint32_t role;                   // pppoeia_port_state when none is said
    std::uint32_t trust;                  // pppoeia_port_trust, likewise
};

// In the order of the types.
inline constexpr std::array<TypeFacts, 9> type_facts = [] {
    using enum InterfaceType;
    constexpr std::uint32_t none = PPPOEIA_PORT_DISABLED, both = PPPOEIA_PORT_BOTH;
    constexpr std::uint32_t trusted = PPPOEIA_PORT_TRUSTED, untrusted = PPPOEIA_PORT_UNTRUSTED;
    return std::array<TypeFacts, 9>{{
        {eth, "eth", true, true, std::nullopt, both, trusted},
        {dsl, "dsl", false, true, std::nullopt, none, untrusted},
        {atm, "atm", false, true, dsl, none, untrusted},
        {olt, "olt", false, false, std::nullopt, none, untrusted},
        {onu, "onu", false, false, olt, none, untrusted},
        {gem, "gem", false, true, onu, none, untrusted},
        {mng, "mng", false, false, std::nullopt, none, untrusted},
        {lag, "lag", true, true, std::nullopt, both, trusted},
        {access, "access", false, true, std::nullopt, none, untrusted},
    }};
}();

constexpr const TypeFacts &facts_of(InterfaceType type) {
    return type_facts[static_cast<std::size_t>(type)];
}

static_assert(
    [] {
        for (const TypeFacts &facts : type_facts)
            if (&facts_of(facts.type) != &facts) return false;
        return true;
    }(),
    "a type's facts are found by its number");

struct Interface {
    std::uint32_t id = 0;  // also the bridge's port id
    std::string name;      // the interface's name in the node, "1/1/1"
    InterfaceType type = InterfaceType::eth;
    std::string device;        // Linux device
    std::string bridge;        // name of its bridge; the first bridge when not said
    std::uint32_t parent = 0;  // id of the parent interface, 0 without one
    std::string panel;         // panel label; empty: no valid panel
    std::uint32_t port = 0;
    std::uint32_t onu = 0;             // ONU and GEM ports only
    std::uint32_t gem = 0;             // GEM ports only
    std::uint32_t pvc = 0;             // PVC interface number, ATM only
    std::optional<std::uint32_t> vpi;  // with vci, ATM only
    std::optional<std::uint32_t> vci;
    std::string description;
    std::string serial;  // "serial", ONU only: 8 hexadecimal digits and 8 characters
    std::optional<std::array<std::uint8_t, 6>> mac;  // "mac", ONU only
    bool gem_in_use = true;                          // "in_use", GEM only
    PortSettings settings{};                         // role and trust: the type's when not said
    std::map<std::uint16_t, LineSettings> lines;     // by VLAN; of a node's state only
    PortLimits limits{};
    unsigned line = 0;
};

// The library manages exactly one bridge, of this name.
inline constexpr char managed_bridge[] = "br0";

struct Bridge {
    std::string name;           // of the agent's bridge
    std::string device{};       // the Linux bridge; the name when not said
    std::uint32_t ports = 256;  // port records: ids 1 to ports - 1
    std::uint16_t stag_ethertype = 0x88A8;
    std::uint32_t max_pdu = 1500;  // largest Ethernet frame, bytes
    AgentSettings settings{};      // but the shelf, which is the node's
    PortLimits limits{};           // of its ports
    BridgeLimits bridge_limits{};
    unsigned line = 0;  // in the file
};

struct Vlan {
    std::uint16_t id = 0;
    std::string name;
    std::string bridge;  // as an interface's
    VlanSettings settings{};
    unsigned line = 0;
};

// What is said of a VLAN of one port.
struct PortVlan {
    std::uint32_t port = 0;  // id of the interface
    std::uint16_t vlan = 0;
    LineSettings settings{};
    unsigned line = 0;
};

struct Description {
    std::string file;  // where it was read from
    std::uint8_t board = 0;
    std::string shelf;
    std::string contact;
    std::string location;
    std::string name;
    std::string management_device = "mng0";
    bool profile_mode = false;            // service profiles configure the node
    bool rpc_reserved_port = true;        // remote calls that change anything come from root
    std::string settings_file;            // what operators set is saved here; empty: nowhere
    bool settings_auto = false;           // after each change
    std::string metrics_file;             // counters as Prometheus text; empty: nowhere
    std::uint32_t metrics_interval = 15;  // seconds from one writing to the next
    std::vector<Bridge> bridges;
    std::vector<Interface> interfaces;
    std::vector<Vlan> vlans;
    std::vector<PortVlan> port_vlans;
    std::string warnings;  // what is allowed and seldom meant: "FILE:LINE: text" each
};

// The bridge of an interface: the first one where it names none; null when it names one
// that is not there.
inline const Bridge *bridge_of(const Description &description, const Interface &interface) {
    for (const Bridge &bridge : description.bridges)
        if (interface.bridge.empty() || interface.bridge == bridge.name) return &bridge;
    return nullptr;
}

}  // namespace ia::node
