// The words that operators use for the agent's numbers.
#pragma once

#include <map>
#include <string>

namespace ia::ctl {

using Words = std::map<std::string, int>;

inline const Words on_off{{"off", 0}, {"on", 1}};
inline const Words roles{{"disabled", 0}, {"client", 1}, {"server", 2}, {"both", 3}};
inline const Words trusts{{"trusted", 0}, {"untrusted", 1}};
inline const Words tag_modes{{"keep", 0}, {"remove", 1}};
inline const Words id_modes{{"default", 0}, {"atm", 1}, {"custom", 2}};

inline std::string word_for(const Words &words, int number) {
    for (const auto &[word, meaning] : words)
        if (meaning == number) return word;
    return std::to_string(number);
}

}  // namespace ia::ctl
