// What the ID generation remembers of a bridge between frames. It hangs on the
// bridge's record, under the bridge's lock, and is made when it is first needed.
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
    // Beyond so many, formats that are no longer set are forgotten, with all others.
    static constexpr std::size_t plans_max = 4096;

    std::uint64_t revision = 0;  // of the bridge, for what follows

    const pppoeia_port *management = nullptr;  // the first management port
    bool management_sought = false;

    // By format. A plan stays where it is for as long as the revision.
    std::unordered_map<std::string, format_plan, TextHash, std::equal_to<>> plans;

    // By port slot: the lines of the Circuit ID and of the Remote ID.
    std::vector<std::array<line_slot, 2>> lines;
};

// Makes the bridge's, or brings it up to the bridge's revision.
IdMemory &renewed_memory(pppoeia_bridge &bridge);

// The bridge's, as of its revision.
inline IdMemory &memory_of(pppoeia_bridge &bridge) {
    if (bridge.ids && bridge.ids->revision == bridge.revision) [[likely]]
        return *bridge.ids;
    return renewed_memory(bridge);
}

// The format's plan; null when the format is empty.
const format_plan *plan_of(IdMemory &memory, const char *format);

}  // namespace ia
