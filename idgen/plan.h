// Custom ID formats, parsed once and run for every frame.
//
// The macros of a format and their positions do not depend on any value. The
// scanner therefore parses a format at its first frame; later frames only fetch and
// render the values. A plan makes exactly the ID that genCustomId makes for a frame
// (idgen/assembly.h). genCustomId defines the result, answers queries, and does all
// the work while anything is traced.
#pragma once

#include "idgen/macros.h"
#include "idgen/resolver.h"
#include "store/bridge.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ia {

struct PlanStep {
    std::string literal;            // the text in front of it
    std::string constant;           // hexadecimal digits that stand in the format itself, or
    MacroSource *source = nullptr;  // the source of the value
    std::string macro;              // copied to the ID when the value cannot be rendered
    customIdFormat type = MACRO_SHELF;
    char flags = 0;
    std::string delimiter;
    unsigned count = 0;
};

struct FormatPlan {
    std::vector<PlanStep> steps;
    std::string rest;  // the text behind the last step
};

// Whether plans may run: no trace is on that only genCustomId would write.
bool plans_run();

FormatPlan make_plan(const std::string &format);

// Writes the ID to `out` (64 bytes, cut to 63 characters and terminated). Fills
// `binary`, empty on entry, when the ID is binary. Without a plan the ID is empty.
// Allocates nothing. The caller holds the bridge's lock.
void run_plan(const FormatPlan *plan, const subscriber &who, char *out,
              std::vector<std::uint8_t> &binary);

// A plan for one port and its VLANs with the constant values filled in: most IDs of
// a line are constant, or vary only with the client's address. Valid for one
// revision of the bridge.
struct LinePlan {
    std::uint64_t revision = 0;  // the bridge's, when this was begun
    std::uint16_t vid = 0;
    std::uint16_t cvid = 0;
    const FormatPlan *of = nullptr;
    std::optional<FormatPlan>
        folded;  // made at the line's second frame: for one frame it does not pay
};

using LineSlot = std::unique_ptr<LinePlan>;

// The line's plan; null when the slot holds another line's, or is out of date. A
// bridge of revision 0 keeps none.
LinePlan *current_line(const LineSlot &slot, const subscriber &who);

// Begins the plan of another line from the format's plan.
void begin_line(LineSlot &slot, const subscriber &who, const FormatPlan *plan);

const FormatPlan *folded_plan(LinePlan &line, const subscriber &who);

}  // namespace ia
