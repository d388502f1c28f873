// What is wrong with a description, collected while it is read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ia::node {

class Problems {
public:
    void add(unsigned line, std::string text) { list_.push_back({line, std::move(text)}); }

    // What is allowed, and seldom meant.
    void warn(unsigned line, std::string text) { warnings_.push_back({line, std::move(text)}); }

    // Those of one line, which was read by itself.
    void add_all(const Problems &of_line, unsigned line) {
        for (const Problem &problem : of_line.list_) add(line, problem.text);
    }

    bool any() const { return !list_.empty(); }

    // "FILE:LINE: text" for each of the first hundred, by line, separated by line
    // ends; then how many more there are.
    std::string report(const std::string &file) const { return lines(list_, file); }
    std::string warnings(const std::string &file) const { return lines(warnings_, file); }

private:
    struct Problem {
        unsigned line;
        std::string text;
    };
    static std::string lines(const std::vector<Problem> &problems, const std::string &file);

    std::vector<Problem> list_;
    std::vector<Problem> warnings_;
};

// Control characters escaped, as \x1B.
std::string printable(std::string_view text);

// Text of the file within quotes, fit for a terminal: what cannot be printed is
// escaped, and a long text is cut.
std::string quoted(std::string_view text);

// The candidate with the fewest letters to change, or an empty view when none
// is near.
[[gnu::visibility("default")]] std::string_view nearest(
    std::string_view word, const std::vector<std::string_view> &candidates);

// "a", "b" or "c"
std::string any_of(const std::vector<std::string_view> &words);

}  // namespace ia::node
