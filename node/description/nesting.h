// How deep a text of TOML goes, before it is parsed.
#pragma once

#include "node/description/problems.h"

#include <string_view>

namespace ia::node {

// The parser, and all that walks over its result, goes one call deeper for each
// level. No file of ours needs more than these.
inline constexpr unsigned deepest_key = 8;    // parts of a dotted key
inline constexpr unsigned deepest_value = 8;  // arrays and tables within each other

// False when the text goes deeper; the first place is then reported. Takes any
// text, also one that is no TOML.
bool nesting_fits(std::string_view text, Problems &problems);

}  // namespace ia::node
