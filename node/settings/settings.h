// What an operator can set: of the agent, of a port, of a VLAN, of a port and
// VLAN. Every field may be absent, so one type holds the settings in force, what
// a file says, and what differs between the two.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace ia::node {

struct AgentSettings {
    std::optional<bool> enabled;
    std::optional<std::uint32_t> vsa_mode;  // pppoeia_vsa_mode
    std::optional<bool> insert_circuit_id;
    std::optional<bool> insert_remote_id;
    std::optional<bool> circuit_id_cvlan;
    std::optional<std::string> shelf;
    std::optional<std::string> circuit_id_format;
    std::optional<std::string> remote_id_format;
    std::optional<std::int32_t> log_level;

    bool operator==(const AgentSettings &) const = default;
};

struct PortSettings {
    std::optional<std::uint32_t> role;   // pppoeia_port_state
    std::optional<std::uint32_t> trust;  // pppoeia_port_trust
    std::optional<std::string> remote_id;
    std::optional<std::uint32_t> circuit_id_mode;  // pppoeia_cid_mode

    bool operator==(const PortSettings &) const = default;
};

struct VlanSettings {
    std::optional<bool> enabled;

    bool operator==(const VlanSettings &) const = default;
};

// Of a port and VLAN.
struct LineSettings {
    std::optional<std::uint32_t> circuit_id_mode;
    std::optional<std::string> circuit_id_format;
    std::optional<std::string> remote_id_format;

    bool operator==(const LineSettings &) const = default;
};

using LineKey = std::pair<std::uint32_t, std::uint16_t>;  // port, VLAN

struct Settings {
    AgentSettings agent;
    std::map<std::uint32_t, PortSettings> ports;
    std::map<std::uint16_t, VlanSettings> vlans;
    std::map<LineKey, LineSettings> lines;

    bool operator==(const Settings &) const = default;
};

// --- the fields of each record, in the order in which they are written -------------

template <class Record>
inline constexpr std::tuple<> fields_of{};
template <>
inline constexpr auto fields_of<AgentSettings> =
    std::tuple{&AgentSettings::enabled,           &AgentSettings::vsa_mode,
               &AgentSettings::insert_circuit_id, &AgentSettings::insert_remote_id,
               &AgentSettings::circuit_id_cvlan,  &AgentSettings::shelf,
               &AgentSettings::circuit_id_format, &AgentSettings::remote_id_format,
               &AgentSettings::log_level};
template <>
inline constexpr auto fields_of<PortSettings> =
    std::tuple{&PortSettings::role, &PortSettings::trust, &PortSettings::remote_id,
               &PortSettings::circuit_id_mode};
template <>
inline constexpr auto fields_of<VlanSettings> = std::tuple{&VlanSettings::enabled};
template <>
inline constexpr auto fields_of<LineSettings> =
    std::tuple{&LineSettings::circuit_id_mode, &LineSettings::circuit_id_format,
               &LineSettings::remote_id_format};

template <class Record, class Visit>
void each_field(Visit visit) {
    std::apply([&](auto... field) { (visit(field), ...); }, fields_of<Record>);
}

// --- settings over settings -----------------------------------------------------------

// What `above` says over `below`; the rest stays.
Settings overlay(Settings below, const Settings &above);

// What `now` says and `base` does not say, or says otherwise. A field that is
// absent in `now` is absent here.
Settings difference(const Settings &now, const Settings &base);

// What `wanted` says of ports and VLANs that `running` does not have: it waits
// for them.
Settings waiting(const Settings &wanted, const Settings &running);

}  // namespace ia::node
