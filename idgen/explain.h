// Explains a custom ID format as the engine reads it: piece by piece, with the
// values and with warnings about effects that an operator may not expect.
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
    std::size_t at = 0;  // position in the format
    std::size_t length = 0;
    std::optional<customIdFormat> macro;  // none: literal text
    std::string name;                     // a macro's
    std::string options;                  // a macro's, in words
    std::optional<std::string> value;     // a macro's; none: no value, or not known
    std::string output;                   // its contribution to the ID, in text form
};

enum class FormatWarning : std::uint8_t {
    stops_expansion,  // the rest of the format stays as it is
    name_in_text,     // the same, because a macro's name has no "$" in front
    stays_literal,    // the options do not fit this macro
    carries_over,     // a delimiter or a count of an earlier macro applies here
    empty,            // the macro has no value, in general or for this line
    never_resolves,
    cut,     // the ID is longer than 63
    binary,  // the whole ID is sent as bytes
};
inline constexpr std::size_t format_warning_count = 8;

// A warning's name for programs, such as "stops-expansion".
const char *warning_name(FormatWarning warning);

struct FormatNote {
    FormatWarning warning;
    std::size_t at;  // position in the format
    std::size_t length;
    std::string text;
};

struct FormatReport {
    std::vector<FormatPiece> pieces;
    std::vector<FormatNote> notes;
    bool complete = true;  // false: values were missing, the ID is not known
    std::string text;      // the result of genCustomId
    std::vector<std::uint8_t> binary;
};

// Supplies the value of a macro; none when it is not known. Called only for macros
// that can have a value.
using MacroValues = std::function<std::optional<std::string>(customIdFormat)>;

FormatReport explain_format(const std::string &format, const MacroValues &values);

// The description of a macro.
struct MacroHelp {
    std::string name;
    std::string options;  // the option letters that it accepts
    std::string meaning;
};
std::vector<MacroHelp> macro_vocabulary();

}  // namespace ia

#pragma GCC visibility pop
