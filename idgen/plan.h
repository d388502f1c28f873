// Custom ID formats, taken apart once: what a frame runs.
//
// Which macros a format holds, and where, does not depend on any value. So the
// scanner goes over a format when its first frame comes, and later frames only
// fetch and render values. A plan makes exactly the ID that genCustomId makes
// for a frame (idgen/assembly.h), which stays the rule, serves queries, and does
// all the work while anything is traced.
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

struct plan_step {
    std::string literal;             // in front of it
    std::string constant;            // hexadecimal digits that stand in the format itself, or
    macro_source *source = nullptr;  // where the value comes from
    std::string macro;               // what stays of it when it cannot be rendered
    customIdFormat type = MACRO_SHELF;
    char flags = 0;
    std::string delimiter;
    unsigned count = 0;
};

struct format_plan {
    std::vector<plan_step> steps;
    std::string rest;  // behind the last step
};

// Whether plans may run: nothing is traced that only the rule would say.
bool plans_run();

format_plan make_plan(const std::string &format);

// Writes the ID to `out` (64 bytes, cut to 63 characters and terminated); fills
// `binary`, which comes empty, when the ID is binary. Empty without a plan.
// Allocates nothing. The caller holds the bridge's lock.
void run_plan(const format_plan *plan, const subscriber &who, char *out,
              std::vector<std::uint8_t> &binary);

// A plan for one port and its VLANs, with the values in it that last: most IDs of
// a line differ in nothing or in the client's address. Good for one revision of
// the bridge.
struct line_plan {
    std::uint64_t revision = 0;  // of the bridge, when this was begun
    std::uint16_t vid = 0;
    std::uint16_t cvid = 0;
    const format_plan *of = nullptr;
    std::optional<format_plan> folded;  // with the line's second frame: one is not worth it
};

using line_slot = std::unique_ptr<line_plan>;

// The line's plan; null when the slot's is of another line or out of date. A
// bridge of revision 0 keeps none.
line_plan *current_line(const line_slot &slot, const subscriber &who);

// Begins the plan of another line, from the format's.
void begin_line(line_slot &slot, const subscriber &who, const format_plan *plan);

const format_plan *folded_plan(line_plan &line, const subscriber &who);

}  // namespace ia
