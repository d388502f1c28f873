// Collects the errors of a description while it is read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ia::node {

class Problems {
public:
    void add(unsigned line, std::string text) { list_.push_back({line, std::move(text)}); }

    // For text that is allowed but rarely intended.
    void warn(unsigned line, std::string text) { warnings_.push_back({line, std::move(text)}); }

    // Adds the problems of a line that was read by itself.
    void add_all(const Problems &of_line, unsigned line) {
        for (const Problem &problem : of_line.list_) add(line, problem.text);
    }

    bool any() const { return !list_.empty(); }

    // "FILE:LINE: text" for each of the first hundred problems, sorted by line, one
    // a line; then the number of the others.
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

// Text of the file in quotes, safe for a terminal: unprintable characters are
// escaped, long text is cut.
std::string quoted(std::string_view text);

// The candidate with the smallest edit distance, or an empty view when none is
// similar.
[[gnu::visibility("default")]] std::string_view nearest(
    std::string_view word, const std::vector<std::string_view> &candidates);

// "a", "b" or "c"
std::string any_of(const std::vector<std::string_view> &words);

}  // namespace ia::node
