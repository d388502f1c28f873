#include "node/description/nesting.h"

#include <algorithm>
#include <string>

namespace ia::node {

namespace {

class Scan {
public:
    explicit Scan(std::string_view text) : rest_(text) {}

    // 0: nothing is nested too deeply.
    unsigned line_too_deep() {
        while (!rest_.empty()) {
            const char c = rest_.front();
            if (c == '"' || c == '\'') {
                skip_text(c);
                continue;
            }
            if (c == '#') {
                skip_to("\n");
                continue;
            }
            rest_.remove_prefix(1);
            if (goes_too_deep(c)) return line_;
        }
        return 0;
    }

private:
    bool goes_too_deep(char c) {
        if (c == '\n') ++line_;
        if (c == '[' || c == '{') ++open_;
        if ((c == ']' || c == '}') && open_ > 0) --open_;
        dots_ = c == '.' ? dots_ + 1 : (c == ' ' || c == '\t' || part_of_key(c) ? dots_ : 0);
        return open_ > deepest_value || dots_ >= deepest_key;
    }

    static bool part_of_key(char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-';
    }

    // Past a text in quotes of this kind, which may be a part of a key.
    void skip_text(char quote) {
        const std::string three(3, quote);
        const bool many_lines = rest_.starts_with(three);
        const std::string_view end = many_lines ? std::string_view(three) : rest_.substr(0, 1);
        rest_.remove_prefix(end.size());
        while (!rest_.empty() && !rest_.starts_with(end)) {
            if (rest_.front() == '\n' && !many_lines) return;
            if (rest_.front() == '\\' && quote == '"') step();
            step();
        }
        rest_.remove_prefix(std::min(end.size(), rest_.size()));
        // Up to two more of the quotes belong to such a text.
        for (int i = 0; many_lines && i < 2 && rest_.starts_with(quote); ++i) step();
    }

    void step() {
        if (rest_.empty()) return;
        if (rest_.front() == '\n') ++line_;
        rest_.remove_prefix(1);
    }

    void skip_to(std::string_view end) {
        rest_.remove_prefix(std::min(rest_.find(end), rest_.size()));
    }

    std::string_view rest_;
    unsigned line_ = 1;
    unsigned open_ = 0;  // arrays and tables
    unsigned dots_ = 0;  // of the key so far
};

}  // namespace

bool nesting_fits(std::string_view text, Problems &problems) {
    const unsigned line = Scan(text).line_too_deep();
    if (line != 0)
        problems.add(line, "keys, arrays or tables are within each other more than 8 deep");
    return line == 0;
}

}  // namespace ia::node
