// The words that operators use for the agent's numbers.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

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

// Six numbers of one or two hexadecimal digits, with colons between; nothing for
// any other text.
inline std::optional<std::array<std::uint8_t, 6>> mac_for(std::string_view text) {
    std::array<std::uint8_t, 6> mac{};
    for (std::uint8_t &byte : mac) {
        if (&byte != &mac.front()) {
            if (!text.starts_with(':')) return std::nullopt;
            text.remove_prefix(1);
        }
        const std::string_view digits = text.substr(0, 2);
        const auto [end, fault] =
            std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (fault != std::errc()) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - digits.data()));
    }
    return text.empty() ? std::optional(mac) : std::nullopt;
}

}  // namespace ia::ctl
