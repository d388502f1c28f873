// Suggestions for misspelt names.
#pragma once

#include <string>
#include <vector>

namespace ia::ctl {

// The candidate with the smallest edit distance (a letter added, removed or
// changed, or two swapped), at most a third of the word's length. Empty: none is
// that similar.
std::string nearest(const std::string &word, const std::vector<std::string> &candidates);

// "; did you mean 'cid-mode'?", or nothing.
std::string did_you_mean(const std::string &word, const std::vector<std::string> &candidates);

}  // namespace ia::ctl
