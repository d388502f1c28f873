// Limits the nesting of a TOML text before it is parsed.
#pragma once

#include "node/description/problems.h"

#include <string_view>

namespace ia::node {

// The parser, and functions that walk its result, recurse once for each level. Our
// files need no more than these.
inline constexpr unsigned deepest_key = 8;    // parts of a dotted key
inline constexpr unsigned deepest_value = 8;  // arrays and tables within each other

// False when the text is nested more deeply; reports the first such place. Accepts
// any text, even invalid TOML.
bool nesting_fits(std::string_view text, Problems &problems);

}  // namespace ia::node
