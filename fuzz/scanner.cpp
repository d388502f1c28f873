// The format scanner and its option parser.
//
// Properties: a macro found lies in the format where the scanner says, begins with
// the prefix and ends with its name; the scan moves forward, so that a walk over
// any format ends.
#include "idgen/scanner.h"
#include "fuzz/check.h"
#include "idgen/macros.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string format(reinterpret_cast<const char *>(data), size);
    unsigned long position = 0;
    unsigned long start = 0;
    std::string macro;
    customIdFormat type = MACRO_SHELF;
    char flags = 0;
    std::string delimiter;
    unsigned count = 0;
    std::string user_string;
    while (getNextMacroFormatString(format, position, start, macro, type, flags, delimiter, count,
                                    user_string)) {
        const std::string name = macroFormatTypeToString(type);
        MUST(start >= position);
        MUST(format.compare(start, macro.size(), macro) == 0);
        MUST(macro.front() == '$' && macro.ends_with(name));
        MUST(macro.find('$', 1) == std::string::npos);
        MUST(delimiter.size() <= 1);
        MUST(macroIsSupportedForUserString(type) ||
             (flags & ~(macroStringPrintHex | macroStringNumOfChars | macroStringPadZeroes |
                        macroStringPadSpaces | macroStringDelimChar)) == 0);
        position = start + macro.size();
    }
    flags = 0;
    parseOptChars(format, delimiter, count, flags);
    return 0;
}
