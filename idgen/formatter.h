// Turns a macro's value into the text that goes into the ID.
#pragma once

#include "idgen/macros.h"

#include <string>
#include <vector>

// Renders `str` as the options demand: hexadecimal (always whole bytes), another
// delimiter in an address, filled octets and groups, cut or padded to a number of
// characters (of bytes in hexadecimal). False when the options do not fit the macro
// or its value; the content of `processed` is then undefined.
bool processMacroString(const std::string &str, customIdFormat type, char flags,
                        const std::string &delimiter, unsigned num_chars, std::string &processed);

namespace ia {

// The same, for options that macroAreFlagsValid has accepted.
bool render_value(const std::string &str, customIdFormat type, char flags,
                  const std::string &delimiter, unsigned num_chars, std::string &processed);

}  // namespace ia

// Appends the groups of an IPv6 address, with "::" expanded: eight groups of four
// digits for a valid address, another number for an invalid one. Always 0.
int ipv6AddrStrToVector(const std::string &text, std::vector<std::string> &groups);
