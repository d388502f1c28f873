// Converts TOML text to records, section by section.
#pragma once

#include "node/description/description.h"
#include "node/description/problems.h"

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ia::node {

// The lines of a section's keys. Only keys with an accepted value are listed, so
// that the checks between sections never use a refused value.
struct KeyLines {
    std::vector<std::pair<std::string_view, unsigned>> keys;

    // 0 for a key that is absent or was refused.
    unsigned of(std::string_view key) const {
        for (const auto &[name, line] : keys)
            if (name == key) return line;
        return 0;
    }
};

// These lists of lines are parallel to the description's lists of records.
struct Sections {
    Description description;
    std::vector<KeyLines> bridge_lines;
    std::vector<KeyLines> interface_lines;
    std::vector<KeyLines> vlan_lines;
    std::vector<KeyLines> port_vlan_lines;
};

// Empty for invalid TOML; that is then the only problem.
std::optional<Sections> read_sections(std::string_view text, Problems &problems);

}  // namespace ia::node
