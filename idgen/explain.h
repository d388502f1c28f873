// Explains a custom ID format as the engine reads it: piece by piece, with the
// values it would have and what an operator would not expect of it.
#pragma once

#include "idgen/macros.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

namespace ia {

struct FormatPiece {
    std::size_t at = 0;  // in the format
    std::size_t length = 0;
    std::optional<customIdFormat> macro;  // nothing: literal text
    std::string options;                  // a macro's, in words
    std::optional<std::string> value;     // a macro's; nothing: it has none, or is not known
    std::string output;                   // what the ID gets of it, in text form
};

enum class FormatWarning : std::uint8_t {
    stops_expansion,  // the rest of the format stays as it is
    name_in_text,     // likewise, because of a macro's name without "$" before it
    stays_literal,    // the options do not fit this macro
    carries_over,     // a delimiter or a count of an earlier macro counts here
    empty,            // a macro without a value, always or for this line
    never_resolves,
    cut,     // the ID is longer than 63
    binary,  // the whole ID is sent as bytes
};
inline constexpr std::size_t format_warning_count = 8;

// A warning's name for programs, such as "stops-expansion".
const char *warning_name(FormatWarning warning);

struct FormatNote {
    FormatWarning warning;
    std::size_t at;  // what it is about, in the format
    std::size_t length;
    std::string text;
};

struct FormatReport {
    std::vector<FormatPiece> pieces;
    std::vector<FormatNote> notes;
    bool complete = true;  // false: values were missing, and the ID is not known
    std::string text;      // as genCustomId gives it
    std::vector<std::uint8_t> binary;
};

// A macro's value, asked for where the format needs it; nothing when it is not
// known. Only macros that can have a value are asked for.
using MacroValues = std::function<std::optional<std::string>(customIdFormat)>;

FormatReport explain_format(const std::string &format, const MacroValues &values);

// A macro of the vocabulary, in words.
struct MacroHelp {
    std::string name;
    std::string options;  // the option letters that it takes
    std::string meaning;
};
std::vector<MacroHelp> macro_vocabulary();

}  // namespace ia

#pragma GCC visibility pop
