// Text from outside, as a line of the log may hold it.
#pragma once

#include <string>
#include <string_view>

namespace ia::node {

// Printable ASCII stays; any other byte becomes "\xNN", so that no line ends early and
// no terminal is commanded.
std::string log_text(std::string_view text);

}  // namespace ia::node
