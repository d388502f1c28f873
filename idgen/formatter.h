// Turns a macro's value into the text that goes into the ID.
#pragma once

#include "idgen/macros.h"

#include <string>
#include <vector>

// Renders `str` as the options say: hexadecimal (always whole bytes), another
// delimiter in an address, filled octets and groups, cut or padded to a count
// of characters, or of bytes in hexadecimal. False when the options do not fit
// the macro or its value; `processed` then means nothing.
bool processMacroString(const std::string &str, customIdFormat type, char flags,
                        const std::string &delimiter, unsigned numChars, std::string &processed);

namespace ia {

// The same for options that macroAreFlagsValid has found to fit.
bool render_value(const std::string &str, customIdFormat type, char flags,
                  const std::string &delimiter, unsigned numChars, std::string &processed);

}  // namespace ia

// Appends the groups of an IPv6 address, "::" written out: eight of four digits
// for a valid address, some other number for others. Always 0.
int ipv6AddrStrToVector(const std::string &text, std::vector<std::string> &groups);
