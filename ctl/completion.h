// What the command table says to shells and to the manual.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ia::ctl {

// First words that operators do not type.
inline constexpr std::string_view complete_word = "__complete";
inline constexpr std::string_view manual_word = "__manual";

// Prints what may stand for the last of the words, one a line. Returns 0.
int print_candidates(const std::vector<std::string> &words);

// Prints the commands as a manual page lists them. Returns 0.
int print_manual();

}  // namespace ia::ctl
