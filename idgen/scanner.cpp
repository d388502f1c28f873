#include "idgen/scanner.h"

#include "fe/base/trace.h"
#include "idgen/debug.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

namespace {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

void set(char &flags, char flag) {
    flags = static_cast<char>(flags | flag);
}

// Reads the digits at `at` and moves past them. False when there are none. A number
// beyond 64 bits (signed) counts as the largest.
bool take_count(std::string_view block, std::size_t &at, unsigned &count) {
    const std::size_t start = at;
    while (at < block.size() && is_digit(block[at])) ++at;
    if (at == start) return false;
    std::int64_t value = 0;
    const auto read = std::from_chars(block.data() + start, block.data() + at, value);
    if (read.ec == std::errc::result_out_of_range) value = std::numeric_limits<std::int64_t>::max();
    count = static_cast<unsigned>(value);
    return true;
}

// Parses an option block; the members record the options seen so far.
struct OptionParser {
    std::string_view block;
    std::string &delimiter;
    unsigned &count;
    char &flags;

    std::size_t at = 0;
    bool hex_seen = false;
    bool padding_seen = false;
    bool delimiter_seen = false;

    bool parse() {
        while (at < block.size())
            if (!take_option()) return false;
        return true;
    }

    bool take_option() {
        switch (block[at]) {
            case 'h': return take_hex();
            case 'z': return take_padding(macroStringPadZeroes);
            case 's': return take_padding(macroStringPadSpaces);
            case 'd': return take_delimiter();
            default: return take_plain_count();
        }
    }

    bool take_hex() {
        if (hex_seen) {
            IA_TRACE("<PPPOEIA> >> Duplicate hex option");
            return false;
        }
        hex_seen = true;
        set(flags, macroStringPrintHex);
        ++at;
        return true;
    }

    // Without digits the count is 0; at the end of the block it stays as it was.
    bool take_padding(char padding) {
        if (padding_seen) {
            IA_TRACE("<PPPOEIA> >> Duplicate padding option");
            return false;
        }
        padding_seen = true;
        set(flags, padding);
        if (++at == block.size()) {
            if (padding == macroStringPadZeroes) return true;
            IA_TRACE("<PPPOEIA> >> Unexpected exit! Number of characters should follow.");
            return false;
        }
        if (take_count(block, at, count))
            set(flags, macroStringNumOfChars);
        else
            count = 0;
        return true;
    }

    // A block that ends after the letter does not change the delimiter.
    bool take_delimiter() {
        if (delimiter_seen) {
            IA_TRACE("<PPPOEIA> >> Duplicate delimiter option");
            return false;
        }
        delimiter_seen = true;
        set(flags, macroStringDelimChar);
        if (++at < block.size()) delimiter.assign(1, block[at++]);
        return true;
    }

    bool take_plain_count() {
        unsigned taken = 0;
        if (!take_count(block, at, taken)) {
            IA_TRACE("<PPPOEIA> >> Invalid number of characters or unexpected character!");
            return false;
        }
        if (padding_seen) {
            IA_TRACE("<PPPOEIA> >> Duplicate num chars option");
            return false;
        }
        count = taken;
        set(flags, macroStringNumOfChars);
        return true;
    }
};

// The macro with the longest name that the text starts with, or null.
const ia::MacroRule *macro_named_at(std::string_view text) {
    const ia::MacroRule *longest = nullptr;
    for (const ia::MacroRule &rule : ia::macro_rules())
        if (text.starts_with(rule.name) && (!longest || rule.name.size() > longest->name.size()))
            longest = &rule;
    return longest;
}

// The first macro whose name occurs in the text, and its position; null without
// any.
const ia::MacroRule *first_macro_named_in(std::string_view text, std::size_t &position) {
    for (position = 0; position < text.size(); ++position) {
        if (!ia::may_begin_macro_name(text[position])) continue;
        if (const ia::MacroRule *rule = macro_named_at(text.substr(position))) return rule;
    }
    return nullptr;
}

}  // namespace

bool parseOptChars(const std::string &opt_chars, std::string &delimiter, unsigned &num_chars,
                   char &flags) {
    IA_ID_DEBUG("option block '%s'", opt_chars.c_str());
    return OptionParser{opt_chars, delimiter, num_chars, flags}.parse();
}

bool getNextMacroFormatString(const std::string &str, unsigned long start_pos,
                              unsigned long &macro_format_start_pos, std::string &macro_format_str,
                              customIdFormat &macro_type, char &flags, std::string &delimiter,
                              unsigned &num_chars, std::string &macro_usr_str) {
    macro_format_str.clear();
    if (start_pos > str.size()) {
        IA_TRACE("<PPPOEIA> >> Failed sanity check");
        return false;
    }
    if (str.empty()) {
        IA_TRACE("<PPPOEIA> >> Empty format string");
        return false;
    }
    const std::string_view rest = std::string_view(str).substr(start_pos);
    std::size_t name = 0;
    const ia::MacroRule *rule = first_macro_named_in(rest, name);
    if (!rule) return false;

    const std::size_t prefix = rest.substr(0, name).rfind(macro_prefix);
    if (prefix == std::string_view::npos) {
        IA_TRACE("<PPPOEIA> >> No macro identifier found");
        return false;
    }
    macro_format_start_pos = start_pos + prefix;
    macro_format_str = rest.substr(prefix, name + rule->name.size() - prefix);
    macro_type = rule->type;
    flags = 0;
    IA_ID_DEBUG("macro '%s' at %lu", macro_format_str.c_str(), macro_format_start_pos);

    const std::string block(rest.substr(prefix + 1, name - prefix - 1));
    if (macroIsSupportedForUserString(macro_type)) {
        macro_usr_str = block;
        return true;
    }
    if (parseOptChars(block, delimiter, num_chars, flags)) return true;
    IA_TRACE("<PPPOEIA> >> ERROR: parseOptChars failed");
    return false;
}
