// All that an operator can set, by what it is set for.
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

// What `above` says over `below`; the rest stays.
AgentSettings overlay(AgentSettings below, const AgentSettings &above);
PortSettings overlay(PortSettings below, const PortSettings &above);
VlanSettings overlay(VlanSettings below, const VlanSettings &above);
Settings overlay(Settings below, const Settings &above);

// What `now` says and `base` does not say, or says otherwise. A field that is
// absent in `now` is absent here.
Settings difference(const Settings &now, const Settings &base);

// A port and VLAN as it is: what is not said of it is not set.
LineSettings whole(LineSettings line);

// What `wanted` says of ports and VLANs that `running` does not have: it waits
// for them.
Settings waiting(const Settings &wanted, const Settings &running);

// How many settings these are.
unsigned count(const Settings &settings);

}  // namespace ia::node
