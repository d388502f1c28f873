#include "idgen/formatter.h"

#include "fe/base/trace.h"
#include "idgen/debug.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace {

using ia::MacroShape;

constexpr std::size_t ipv6_groups = 8;

constexpr char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool is_hex_digit(char c) {
    return (c >= '0' && c <= '9') || (upper(c) >= 'A' && upper(c) <= 'F');
}

void align_right(std::string &text, std::size_t width, char fill) {
    if (text.size() < width) text.insert(0, width - text.size(), fill);
}

std::string right_aligned(std::string text, std::size_t width, char fill) {
    align_right(text, width, fill);
    return text;
}

// The number at the start of the text, in 32 bits (-1 is 0xFFFFFFFF); 0 without
// one.
std::uint32_t leading_number(std::string_view text) {
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return static_cast<std::uint32_t>(number);
}

// Writes whole bytes, so an even number of digits.
std::string hex_of(std::uint32_t number) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    std::string text(digits.data(), end);
    for (char &digit : text) digit = upper(digit);
    return right_aligned(text, text.size() + text.size() % 2, '0');
}

void replace_all(std::string_view text, char separator, std::string_view by,
                 std::string &replaced) {
    replaced.clear();
    for (const char c : text)
        if (c == separator)
            replaced += by;
        else
            replaced += c;
}

// Reads four octets; missing ones are 0.
std::array<std::uint8_t, 4> ipv4_octets(std::string_view text) {
    std::array<std::uint8_t, 4> octets{};
    for (std::uint8_t &octet : octets) {
        const std::size_t length = std::min(text.find('.'), text.size());
        octet = static_cast<std::uint8_t>(leading_number(text.substr(0, length)));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return octets;
}

// Passes on the groups of an IPv6 address, each filled to four digits. "::" is
// expanded: to one group at the start of the address, elsewhere to as many groups
// as complete eight.
template <class Take>
void each_ipv6_group(std::string_view text, Take take) {
    const auto each_field = [text](auto act) {
        std::size_t number = 0;
        for (std::string_view rest = text; !rest.empty(); ++number) {
            const std::size_t length = std::min(rest.find(':'), rest.size());
            act(number, rest.substr(0, length));
            rest.remove_prefix(std::min(length + 1, rest.size()));
        }
        return number;
    };
    const std::size_t fields = each_field([](std::size_t, std::string_view) {});
    each_field([&](std::size_t number, std::string_view field) {
        if (!field.empty()) return take(field);
        if (number == 0) return take("0");
        for (std::size_t group = fields; group <= ipv6_groups; ++group) take("0");
    });
}

// Joins the address's eight groups. False when it has another number of them.
bool join_ipv6(const std::string &value, std::string_view separator, std::string &joined) {
    std::size_t groups = 0;
    each_ipv6_group(value, [&](std::string_view) { ++groups; });
    if (groups != ipv6_groups) {
        IA_TRACE("<PPPOEIA> >> ERROR: invalid ipv6Parts.size(): %ld\n", static_cast<long>(groups));
        return false;
    }
    each_ipv6_group(value, [&](std::string_view group) {
        if (!joined.empty()) joined += separator;
        if (group.size() < 4) joined.append(4 - group.size(), '0');
        joined += group;
    });
    return true;
}

// The user string of HEX: only the digits, filled to whole bytes at the end.
bool put_user_hex(const std::string &digits, std::string &processed) {
    for (const char digit : digits) {
        if (!is_hex_digit(digit)) return false;
        processed += upper(digit);
    }
    if (processed.size() % 2 != 0) processed += '0';
    return true;
}

// An IP address with its octets or groups filled with zeros.
bool put_filled(const std::string &value, MacroShape shape, std::string_view separator,
                std::string &processed) {
    if (value.empty()) return true;
    if (shape == MacroShape::ipv6) return join_ipv6(value, separator, processed);
    for (const std::uint8_t octet : ipv4_octets(value)) {
        if (!processed.empty()) processed += separator;
        processed += right_aligned(std::to_string(octet), 3, '0');
    }
    return true;
}

bool put_hex(const std::string &value, MacroShape shape, std::string &processed) {
    switch (shape) {
        case MacroShape::mac: replace_all(value, ':', "", processed); return true;
        case MacroShape::ipv4:
            if (!value.empty())
                for (const std::uint8_t octet : ipv4_octets(value)) processed += hex_of(octet);
            return true;
        case MacroShape::ipv6: return value.empty() || join_ipv6(value, "", processed);
        default: processed = hex_of(leading_number(value)); return true;
    }
}

bool put_delimited(const std::string &value, MacroShape shape, std::string_view delimiter,
                   std::string &processed) {
    if (!ia::is_address(shape)) {
        IA_TRACE("<PPPOEIA> >> ERROR: macro not supported for delimiter");
        return false;
    }
    if (shape == MacroShape::ipv6) {
        // Without a separator the address is rendered as it was written, with its
        // "::".
        if (!join_ipv6(value, "", processed)) return false;
        if (delimiter.empty()) return true;
    }
    replace_all(value, shape == MacroShape::ipv4 ? '.' : ':', delimiter, processed);
    return true;
}

// Cuts or pads to `count` characters; in hexadecimal, to `count` bytes.
bool fit_to_count(MacroShape shape, char flags, unsigned count, std::string &processed) {
    const bool padding = flags & (macroStringPadZeroes | macroStringPadSpaces);
    if (padding && ia::is_address(shape)) {
        IA_TRACE(
            "<PPPOEIA> >> ERROR: MAC/IP is not allowed for padding with specified number of "
            "characters");
        return false;
    }
    if (count > macroNumOfCharsMax) return false;
    const bool hex = flags & macroStringPrintHex;
    const std::size_t width = hex ? 2 * std::size_t{count} : count;
    if (processed.size() > width)
        processed.resize(width);
    else if (padding)
        align_right(processed, width, hex || (flags & macroStringPadZeroes) ? '0' : ' ');
    return true;
}

// Renders the value without the count.
bool render(const std::string &value, MacroShape shape, char flags, std::string_view delimiter,
            std::string &processed) {
    if (flags & macroStringPrintHex) return put_hex(value, shape, processed);
    if (flags & macroStringDelimChar) return put_delimited(value, shape, delimiter, processed);
    processed = value;
    return true;
}

}  // namespace

bool processMacroString(const std::string &str, customIdFormat type, char flags,
                        const std::string &delimiter, unsigned num_chars, std::string &processed) {
    IA_ID_DEBUG("value '%s', macro %u, flags 0x%02x, delimiter '%s', count %u", str.c_str(), type,
                static_cast<unsigned char>(flags), delimiter.c_str(), num_chars);
    if (macroAreFlagsValid(type, flags, delimiter, num_chars))
        return ia::render_value(str, type, flags, delimiter, num_chars, processed);
    processed.clear();
    IA_TRACE("<PPPOEIA> >> ERROR: invalid flags");
    return false;
}

bool ia::render_value(const std::string &str, customIdFormat type, char flags,
                      const std::string &delimiter, unsigned num_chars, std::string &processed) {
    processed.clear();
    const MacroShape shape = macro_rule_of(type).shape;
    if (shape == MacroShape::user_hex) return put_user_hex(str, processed);

    const bool counted = flags & macroStringNumOfChars;
    const bool filled = (flags & macroStringPadZeroes) && !counted && is_ip(shape);
    if (filled && !(flags & macroStringPrintHex)) {
        const std::string_view own = shape == MacroShape::ipv4 ? "." : ":";
        return put_filled(str, shape, flags & macroStringDelimChar ? delimiter : own, processed);
    }
    if (!render(str, shape, flags, delimiter, processed)) return false;
    return !counted || fit_to_count(shape, flags, num_chars, processed);
}

int ipv6AddrStrToVector(const std::string &text, std::vector<std::string> &groups) {
    each_ipv6_group(text, [&](std::string_view group) {
        groups.push_back(right_aligned(std::string(group), 4, '0'));
    });
    return 0;
}
