// From TOML text to records: each section by itself.
#pragma once

#include "node/description/description.h"
#include "node/description/problems.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ia::node {

// Where a section's keys stand. Only keys whose value was accepted are here, so
// the checks between sections never build on a refused value.
struct KeyLines {
    std::vector<std::pair<std::string_view, unsigned>> keys;

    // 0 for a key that is absent or was refused.
    unsigned of(std::string_view key) const {
        for (const auto &[name, line] : keys)
            if (name == key) return line;
        return 0;
    }
};

// The lists of lines run along the description's lists of records.
struct Sections {
    Description description;
    std::vector<KeyLines> bridge_lines;
    std::vector<KeyLines> interface_lines;
    std::vector<KeyLines> vlan_lines;
    std::vector<KeyLines> port_vlan_lines;
};

// Empty when the text is not TOML; that is then the only problem.
std::optional<Sections> read_sections(std::string_view text, Problems &problems);

}  // namespace ia::node
