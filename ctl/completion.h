// Shell completion and the manual's list, made from the command table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ia::ctl {

// First words for scripts, hidden from operators.
inline constexpr std::string_view complete_word = "__complete";
inline constexpr std::string_view manual_word = "__manual";

// Prints the candidates for the last of the words, one a line. Returns 0.
int print_candidates(const std::vector<std::string> &words);

// Prints the commands in the manual page's format. Returns 0.
int print_manual();

}  // namespace ia::ctl
