// The words that operators use for the agent's numbers.
#pragma once

#include <span>
#include <string>

namespace ia::ctl {

struct Word {
    const char *word;
    int number;
};
using Words = std::span<const Word>;

inline constexpr Word on_off[] = {{"off", 0}, {"on", 1}};
inline constexpr Word roles[] = {{"disabled", 0}, {"client", 1}, {"server", 2}, {"both", 3}};
inline constexpr Word trusts[] = {{"trusted", 0}, {"untrusted", 1}};
inline constexpr Word tag_modes[] = {{"keep", 0}, {"remove", 1}};
inline constexpr Word id_modes[] = {{"default", 0}, {"atm", 1}, {"custom", 2}};
inline constexpr Word port_types[] = {{"eth", 0}, {"dsl", 1}, {"atm", 2}, {"olt", 3},   {"onu", 4},
                                      {"gem", 5}, {"mng", 6}, {"lag", 7}, {"access", 8}};

inline std::string word_for(Words words, int number) {
    for (const auto &[word, meaning] : words)
        if (meaning == number) return word;
    return std::to_string(number);
}

// -1 for no such word.
inline int number_for(Words words, const std::string &text) {
    for (const auto &[word, meaning] : words)
        if (text == word) return meaning;
    return -1;
}

}  // namespace ia::ctl
