// Names that somebody may have meant.
#pragma once

#include <string>
#include <vector>

namespace ia::ctl {

// The candidate that takes the fewest changes, at most a third of the word's
// length: a letter more, less, other, or two swapped. Empty: none is that near.
std::string nearest(const std::string &word, const std::vector<std::string> &candidates);

// "; did you mean 'cid-mode'?", or nothing.
std::string did_you_mean(const std::string &word, const std::vector<std::string> &candidates);

}  // namespace ia::ctl
