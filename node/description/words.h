// The words a description may use where only some are allowed, in the order in
// which they are listed to the reader.
#pragma once

#include "node/description/description.h"
#include "pppoeia/records.h"

#include <array>
#include <string_view>
#include <utility>

namespace ia::node {

template <class Value>
using Word = std::pair<std::string_view, Value>;

inline constexpr std::array<Word<InterfaceType>, 9> type_words{{
    {"eth", InterfaceType::eth},
    {"dsl", InterfaceType::dsl},
    {"atm", InterfaceType::atm},
    {"olt", InterfaceType::olt},
    {"onu", InterfaceType::onu},
    {"gem", InterfaceType::gem},
    {"mng", InterfaceType::mng},
    {"lag", InterfaceType::lag},
    {"access", InterfaceType::access},
}};

inline constexpr std::array<Word<std::uint32_t>, 4> role_words{{
    {"disabled", PPPOEIA_PORT_DISABLED},
    {"client", PPPOEIA_PORT_CLIENT},
    {"server", PPPOEIA_PORT_SERVER},
    {"both", PPPOEIA_PORT_BOTH},
}};

inline constexpr std::array<Word<std::uint32_t>, 2> trust_words{{
    {"trusted", PPPOEIA_PORT_TRUSTED},
    {"untrusted", PPPOEIA_PORT_UNTRUSTED},
}};

inline constexpr std::array<Word<std::uint32_t>, 2> vsa_mode_words{{
    {"keep", PPPOEIA_VSA_KEEP},
    {"remove", PPPOEIA_VSA_REMOVE},
}};

constexpr std::string_view type_word(InterfaceType type) {
    return type_words[static_cast<std::size_t>(type)].first;
}

static_assert(
    [] {
        for (std::size_t i = 0; i < type_words.size(); ++i)
            if (static_cast<std::size_t>(type_words[i].second) != i) return false;
        return true;
    }(),
    "type_word() finds a word by its type's number");

}  // namespace ia::node
