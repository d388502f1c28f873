// All settings of operators, by their object.
#pragma once

#include "node/description/settings_records.h"

#include <cstdint>
#include <map>
#include <utility>

namespace ia::node {

using LineKey = std::pair<std::uint32_t, std::uint16_t>;  // port, VLAN

struct Settings {
    AgentSettings agent{};
    std::map<std::uint32_t, PortSettings> ports{};
    std::map<std::uint16_t, VlanSettings> vlans{};
    std::map<LineKey, LineSettings> lines{};

    bool operator==(const Settings &) const = default;
};

// --- settings over settings -----------------------------------------------------------

// The fields of `above`, completed by those of `below`.
AgentSettings overlay(AgentSettings below, const AgentSettings &above);
PortSettings overlay(PortSettings below, const PortSettings &above);
VlanSettings overlay(VlanSettings below, const VlanSettings &above);
Settings overlay(Settings below, const Settings &above);

// The fields of `now` that `base` lacks or has with another value. A field absent
// in `now` is absent in the result.
Settings difference(const Settings &now, const Settings &base);

// The complete settings of a port and VLAN: absent fields become "not set".
LineSettings whole(LineSettings line);

// The settings in `wanted` of ports and VLANs that `running` does not have; they
// wait for them.
Settings waiting(const Settings &wanted, const Settings &running);

// The number of settings.
unsigned count(const Settings &settings);

}  // namespace ia::node
