#include "ctl/batch.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ia::ctl {

namespace {

constexpr char blanks[] = " \t\r";

// Reads up to the closing quote; `at` is then behind it.
std::string quoted_part(const std::string &line, std::size_t &at) {
    const char quote = line[at++];
    std::string text;
    while (at < line.size() && line[at] != quote) {
        const bool escapes = quote == '"' && line[at] == '\\' && at + 1 < line.size() &&
                             (line[at + 1] == '"' || line[at + 1] == '\\');
        if (escapes) ++at;
        text += line[at++];
    }
    if (at++ >= line.size()) throw std::runtime_error(std::string("a ") + quote + " does not end");
    return text;
}

}  // namespace

std::vector<std::string> split_line(const std::string &line) {
    std::vector<std::string> words;
    std::string word;
    bool begun = false;  // also by quotes with nothing between them
    const auto end_word = [&] {
        if (begun) words.push_back(std::move(word));
        word.clear();
        begun = false;
    };
    for (std::size_t at = 0; at < line.size();) {
        const char c = line[at];
        if (!begun && c == '#') break;
        if (std::string(blanks).find(c) != std::string::npos) {
            end_word();
            ++at;
            continue;
        }
        begun = true;
        if (c == '\'' || c == '"') {
            word += quoted_part(line, at);
            continue;
        }
        if (c == '\\' && at + 1 < line.size()) ++at;
        word += line[at++];
    }
    end_word();
    return words;
}

Status run_batch(std::istream &commands, const Batch &batch) {
    Status worst = done;
    std::string line;
    for (std::size_t number = 1; std::getline(commands, line); ++number) {
        const std::string place = batch.name + ':' + std::to_string(number) + ": ";
        Status status = done;
        try {
            const auto words = split_line(line);
            if (!words.empty()) status = batch.run(words, place);
        } catch (const std::runtime_error &error) {
            batch.complain(place, error.what());
            status = usage;
        }
        worst = std::max(worst, status);
        if (status != done && !batch.keep_going) break;
    }
    return worst;
}

}  // namespace ia::ctl
