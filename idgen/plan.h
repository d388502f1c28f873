// Custom ID formats, taken apart once: what a frame runs.
//
// Which macros a format holds, and where, does not depend on any value. So the
// scanner goes over a format when its first frame comes, and later frames only
// fetch and render values. A plan makes exactly the ID that genCustomId makes
// for a frame (idgen/assembly.h), which stays the rule, serves queries, and does
// all the work while anything is traced.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"

#include <cstddef>
#include <cstdint>
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
    std::string format;
    std::vector<plan_step> steps;
    std::string rest;  // behind the last step
};

format_plan make_plan(const std::string &format);

// Whether plans may run: nothing is traced that only the rule would say.
bool plans_run();

// Writes the ID of the frame in the bridge's buffer, for the port, VLAN and
// customer VLAN, to `out` (64 bytes, cut to 63 characters and terminated); fills
// `binary`, which comes empty, when the ID is binary. The slot keeps the
// format's plan, which is made anew when the format is another. Allocates
// nothing once it has run for a format. The caller holds the bridge's lock.
void run_plan(plan_slot &slot, const char *format, const pppoeia_bridge &bridge, std::uint32_t port,
              std::uint16_t vid, std::uint16_t cvid, char *out, std::vector<std::uint8_t> &binary);

}  // namespace ia
