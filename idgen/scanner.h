// Finds the macros of a custom ID format one by one.
#pragma once

#include "idgen/macros.h"

#include <string>

// Finds the first macro name at or after `startPos` (the longest where several
// start at once) and the last "$" between there and the name: that "$", the
// option block and the name are the macro.
//
// False when no name follows or the options are malformed; the caller then copies
// the rest of the format as text. The flags belong to this macro. `delimiter` and
// `numChars` keep their values unless its options set them. `macroUsrStr` is
// written for HEX only. Time is linear in the characters passed.
bool getNextMacroFormatString(const std::string &str, unsigned long startPos,
                              unsigned long &macroFormatStartPos, std::string &macroFormatStr,
                              customIdFormat &macroType, char &flags, std::string &delimiter,
                              unsigned &numChars, std::string &macroUsrStr);

// Parses an option block: h, z and s with a count, d with a character, a count.
// Adds to `flags`. False, with a trace, when the block is malformed.
bool parseOptChars(const std::string &optChars, std::string &delimiter, unsigned &numChars,
                   char &flags);
