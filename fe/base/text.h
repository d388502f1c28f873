// Texts in the records' fixed character arrays.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace ia {

// Copies as much of the text as the field holds, always terminated.
template <std::size_t Size>
void copy_text(char (&field)[Size], std::string_view text) {
    const std::size_t length = std::min(text.size(), Size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}

// The text of a field that may lack its terminator.
template <std::size_t Size>
std::string_view text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

// Whether the text fits the field whole.
template <std::size_t Size>
bool fits(const char (&)[Size], std::string_view text) {
    return text.size() < Size;
}

}  // namespace ia
