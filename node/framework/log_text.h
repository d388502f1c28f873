// Makes text from outside fit for a line of the log.
#pragma once

#include <string>
#include <string_view>

namespace ia::node {

// Keeps printable ASCII and writes any other byte as "\xNN", so that the text can
// neither end a line nor control a terminal.
std::string log_text(std::string_view text);

}  // namespace ia::node
