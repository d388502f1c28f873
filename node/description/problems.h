// What is wrong with a description, collected while it is read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ia::node {

class Problems {
public:
    void add(unsigned line, std::string text) { list_.push_back({line, std::move(text)}); }

    bool any() const { return !list_.empty(); }

    // "FILE:LINE: text" for each, by line, separated by line ends.
    std::string report(const std::string &file) const;

private:
    struct Problem {
        unsigned line;
        std::string text;
    };
    std::vector<Problem> list_;
};

// Text of the file within quotes, fit for a terminal: what cannot be printed is
// escaped, and a long text is cut.
std::string quoted(std::string_view text);

// The candidate with the fewest letters to change, or an empty view when none
// is near.
std::string_view nearest(std::string_view word, const std::vector<std::string_view> &candidates);

// "a", "b" or "c"
std::string any_of(const std::vector<std::string_view> &words);

}  // namespace ia::node
