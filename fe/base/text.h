// Texts in the records' fixed character arrays, and in others of our own.
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
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

// Writes a text forward inside its room; what does not fit is left out. Never
// terminated.
class TextWriter {
public:
    explicit TextWriter(std::span<char> room) : room_(room) {}

    TextWriter &operator<<(std::string_view text) {
        const std::size_t length = std::min(text.size(), room_.size() - size_);
        if (length == 1)  // common: a single character between macros
            room_[size_] = text.front();
        else
            std::memcpy(room_.data() + size_, text.data(), length);
        size_ += length;
        return *this;
    }

    // In decimal.
    TextWriter &operator<<(std::integral auto number) {
        char digits[20];
        const auto end = std::to_chars(digits, std::end(digits), number).ptr;
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }

    void clear() { size_ = 0; }
    std::size_t size() const { return size_; }
    std::string_view view() const { return {room_.data(), size_}; }

private:
    std::span<char> room_;
    std::size_t size_ = 0;
};

// Whether the text fits the field whole.
template <std::size_t Size>
bool fits(const char (&)[Size], std::string_view text) {
    return text.size() < Size;
}

}  // namespace ia
