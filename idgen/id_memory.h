// Data that the ID generation keeps for a bridge between frames. It belongs to the
// bridge's record, is protected by the bridge's lock, and is created on first use.
#pragma once

#include "idgen/plan.h"
#include "store/bridge.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ia {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
        return std::hash<std::string_view>{}(text);
    }
};

struct IdMemory {
    // At this number of plans all are dropped, which removes those of formats no
    // longer set.
    static constexpr std::size_t plans_max = 4096;

    std::uint64_t revision = 0;  // the bridge's revision that the following belongs to

    const pppoeia_port *management = nullptr;  // the first management port
    bool management_sought = false;

    // By format. A plan does not move while the revision lasts.
    std::unordered_map<std::string, FormatPlan, TextHash, std::equal_to<>> plans;

    // By port slot: the line plans of the Circuit ID and of the Remote ID.
    std::vector<std::array<LineSlot, 2>> lines;
};

// Creates the bridge's memory, or updates it to the bridge's revision.
IdMemory &renewed_memory(pppoeia_bridge &bridge);

// The bridge's memory, at the bridge's revision.
inline IdMemory &memory_of(pppoeia_bridge &bridge) {
    if (bridge.ids && bridge.ids->revision == bridge.revision) [[likely]]
        return *bridge.ids;
    return renewed_memory(bridge);
}

// The plan of a format; null for an empty format.
const FormatPlan *plan_of(IdMemory &memory, const char *format);

}  // namespace ia
