#include "node/description/setting_values.h"

#include <algorithm>
#include <cstdio>

namespace ia::node {

std::string put_text(const std::string &text) {
    const bool plain = std::all_of(text.begin(), text.end(),
                                   [](unsigned char c) { return c >= 0x20 && c < 0x7F; });
    std::string written = plain ? "\"" : "{ hex = \"";
    for (const char c : text) {
        if (plain) {
            if (c == '"' || c == '\\') written += '\\';
            written += c;
        } else {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(c)));
            written += digits;
        }
    }
    return written + (plain ? "\"" : "\" }");
}

std::optional<std::string> bytes_of(const std::string &digits, std::size_t longest) {
    const auto value = [](char c) {
        constexpr std::string_view all = "0123456789abcdef";
        return all.find(c);
    };
    if (digits.size() % 2 != 0 || digits.size() / 2 > longest) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::size_t high = value(digits[i]), low = value(digits[i + 1]);
        if (high > 15 || low > 15 || high + low == 0) return std::nullopt;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

}  // namespace ia::node
