// Finds the macros of a custom ID format one by one.
#pragma once

#include "idgen/macros.h"

#include <string>

// Finds the first macro name at or after `start_pos` (the longest where several
// start at once) and the last "$" between there and the name: that "$", the
// option block and the name are the macro.
//
// False when no name follows or the options are malformed; the caller then copies
// the rest of the format as text. The flags belong to this macro. `delimiter` and
// `num_chars` keep their values unless its options set them. `macro_usr_str` is
// written for HEX only. Time is linear in the characters passed.
bool getNextMacroFormatString(const std::string &str, unsigned long start_pos,
                              unsigned long &macro_format_start_pos, std::string &macro_format_str,
                              customIdFormat &macro_type, char &flags, std::string &delimiter,
                              unsigned &num_chars, std::string &macro_usr_str);

// Parses an option block: h, z and s with a count, d with a character, a count.
// Adds to `flags`. False, with a trace, when the block is malformed.
bool parseOptChars(const std::string &opt_chars, std::string &delimiter, unsigned &num_chars,
                   char &flags);
