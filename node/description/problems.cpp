#include "node/description/problems.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <numeric>

namespace ia::node {

namespace {

constexpr std::size_t longest_quote = 60;
constexpr std::size_t most_reported = 100;

// Levenshtein distance.
std::size_t letters_to_change(std::string_view from, std::string_view to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] != to[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string Problems::lines(const std::vector<Problem> &problems, const std::string &file) {
    std::vector<const Problem *> by_line;
    for (const Problem &problem : problems) by_line.push_back(&problem);
    std::stable_sort(by_line.begin(), by_line.end(),
                     [](const Problem *a, const Problem *b) { return a->line < b->line; });
    std::string text;
    const std::size_t more = by_line.size() - std::min(by_line.size(), most_reported);
    by_line.resize(by_line.size() - more);
    for (const Problem *problem : by_line) {
        if (!text.empty()) text += '\n';
        text += file + ':' + std::to_string(problem->line) + ": " + problem->text;
    }
    if (more > 0) text += '\n' + file + ": and " + std::to_string(more) + " more";
    return text;
}

std::string printable(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) {
            result += c;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
            result += escape;
        }
    }
    return result;
}

std::string quoted(std::string_view text) {
    return '"' + printable(text.substr(0, longest_quote)) +
           (text.size() > longest_quote ? "...\"" : "\"");
}

std::string_view nearest(std::string_view word, const std::vector<std::string_view> &candidates) {
    std::string_view best;
    std::size_t fewest = std::min<std::size_t>(word.size() / 2, 2) + 1;
    if (word.size() > longest_quote) return best;
    for (const std::string_view candidate : candidates) {
        const std::size_t changes = letters_to_change(word, candidate);
        if (changes < fewest) {
            fewest = changes;
            best = candidate;
        }
    }
    return best;
}

std::string any_of(const std::vector<std::string_view> &words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
        text += quoted(words[i]);
    }
    return text;
}

}  // namespace ia::node
