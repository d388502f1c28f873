#include "ctl/near.h"

#include <algorithm>

namespace ia::ctl {

namespace {

// The edit distance of two words with transpositions, computed row by row; the row
// before the last is kept for transpositions.
std::size_t distance(const std::string &from, const std::string &to) {
    std::vector<std::size_t> earlier;
    std::vector<std::size_t> above(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) above[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t other = from[i - 1] == to[j - 1] ? 0 : 1;
            std::size_t least = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + other});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                least = std::min(least, earlier[j - 2] + 1);
            row.push_back(least);
        }
        earlier = std::move(above);
        above = std::move(row);
    }
    return above.back();
}

}  // namespace

std::string nearest(const std::string &word, const std::vector<std::string> &candidates) {
    std::string best;
    if (word.size() < 3) return best;  // "no" is not "on"
    std::size_t least = std::max<std::size_t>(word.size() / 3, 1) + 1;
    for (const std::string &candidate : candidates) {
        const std::size_t changes = distance(word, candidate);
        if (changes >= least || changes >= candidate.size()) continue;
        least = changes;
        best = candidate;
    }
    return best;
}

std::string did_you_mean(const std::string &word, const std::vector<std::string> &candidates) {
    const std::string near = nearest(word, candidates);
    return near.empty() ? "" : "; did you mean '" + near + "'?";
}

}  // namespace ia::ctl
