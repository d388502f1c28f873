// The words that operators use for the agent's numbers.
#pragma once

#include "node/description/words.h"

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
// The words of the node description.
template <const auto &Table>
inline constexpr auto words_in = [] {
    std::array<Word, Table.size()> words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = {Table[i].first.data(), static_cast<int>(Table[i].second)};
    return words;
}();
inline constexpr auto roles = words_in<node::role_words>;
inline constexpr auto trusts = words_in<node::trust_words>;
inline constexpr auto tag_modes = words_in<node::vsa_mode_words>;
inline constexpr auto id_modes = words_in<node::circuit_id_mode_words>;
inline constexpr auto port_types = words_in<node::type_words>;

inline std::string word_for(Words words, int number) {
    for (const auto &[word, meaning] : words)
        if (meaning == number) return word;
    return std::to_string(number);
}

// -1 for an unknown word.
inline int number_for(Words words, const std::string &text) {
    for (const auto &[word, meaning] : words)
        if (text == word) return meaning;
    return -1;
}

// Parses six numbers of one or two hexadecimal digits with colons between; none for
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
