// The words that a description accepts, in the order in which errors list them.
#pragma once

#include "node/description/description.h"
#include "node/description/settings_records.h"

#include <array>
#include <string_view>
#include <utility>

namespace ia::node {

inline constexpr auto type_words = [] {
    std::array<Word<InterfaceType>, type_facts.size()> words;
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = {type_facts[i].word, type_facts[i].type};
    return words;
}();

}  // namespace ia::node
