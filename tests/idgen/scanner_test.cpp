// Finding macros in a format and reading their options.
#include "idgen/scanner.h"
#include "tests/idgen/scenario.h"

using namespace ia::test;

namespace {

constexpr char DUPLICATE_HEX[] = "<PPPOEIA> >> Duplicate hex option";
constexpr char DUPLICATE_PADDING[] = "<PPPOEIA> >> Duplicate padding option";
constexpr char DUPLICATE_DELIMITER[] = "<PPPOEIA> >> Duplicate delimiter option";
constexpr char DUPLICATE_COUNT[] = "<PPPOEIA> >> Duplicate num chars option";
constexpr char UNEXPECTED[] = "<PPPOEIA> >> Invalid number of characters or unexpected character!";
constexpr char COUNT_MISSING[] =
    "<PPPOEIA> >> Unexpected exit! Number of characters should follow.";

// Before each block: delimiter "+", count 42, no flags.
struct options_row {
    const char *name;
    std::string block;
    unsigned flags;
    std::string delimiter = "+";
    unsigned count = 42;
    const char *failure = "";
};

const options_row option_rows[] = {
    {"zeroes and count", "z08", 0x06, "+", 8},
    {"zeroes at the end", "z", 0x04},
    {"zeroes and count 0", "z0", 0x06, "+", 0},
    {"spaces and count", "s5", 0x0A, "+", 5},
    {"spaces before delimiter", "sd-", 0x18, "-", 0},
    {"delimiter", "d-", 0x10, "-"},
    {"delimiter d, then hex", "ddh", 0x11, "d"},
    {"delimiter blank", "d ", 0x10, " "},
    {"delimiter of a high byte", "d\xFF", 0x10, "\xFF"},
    {"delimiter NUL", std::string("d\0h", 3), 0x11, std::string("\0", 1)},
    {"delimiter at the end", "d", 0x10},
    {"count 0", "0", 0x02, "+", 0},
    {"count, then another kept", "4h9", 0x03, "+", 9},
    {"count, then padding's", "12z5", 0x06, "+", 5},
    {"count, then padding at the end", "12z", 0x06, "+", 12},
    {"everything", "hz3d:", 0x17, ":", 3},
    {"count of 32 bits", "4294967295", 0x02, "+", 4294967295},
    {"count past 32 bits wraps", "4294967301", 0x02, "+", 5},
    {"count past 32 bits wraps to 0", "z4294967296", 0x06, "+", 0},
    {"largest signed long", "9223372036854775807", 0x02, "+", 0xFFFFFFFF},
    {"past the largest signed long", "9223372036854775808", 0x02, "+", 0xFFFFFFFF},
    {"would wrap to a small count", "18446744073709551621", 0x02, "+", 0xFFFFFFFF},
    {"hex twice", "h3h", 0x03, "+", 3, DUPLICATE_HEX},
    {"zeroes, then spaces", "z3s4", 0x06, "+", 3, DUPLICATE_PADDING},
    {"spaces twice", "ss", 0x08, "+", 0, DUPLICATE_PADDING},
    {"delimiter twice", "d-hd:", 0x11, "-", 42, DUPLICATE_DELIMITER},
    {"count after padding's", "z3h4", 0x07, "+", 3, DUPLICATE_COUNT},
    {"count after padding without", "zh4", 0x05, "+", 0, DUPLICATE_COUNT},
    {"count after spaces without", "sd-4", 0x18, "-", 0, DUPLICATE_COUNT},
    {"spaces at the end", "s", 0x08, "+", 42, COUNT_MISSING},
    {"spaces at the end after a count", "4s", 0x0A, "+", 4, COUNT_MISSING},
    {"upper case", "H", 0, "+", 42, UNEXPECTED},
    {"padding of a minus", "z-3", 0x04, "+", 0, UNEXPECTED},
    {"a high byte", "\xE9", 0, "+", 42, UNEXPECTED},
    {"a NUL", std::string("\0", 1), 0, "+", 42, UNEXPECTED},
    {"an x after a count", "0x12", 0x02, "+", 0, UNEXPECTED},
};

class Scanner : public IdTest {};

TEST_F(Scanner, ReadsOptionsAsTabled) {
    for (const options_row &row : option_rows) {
        SCOPED_TRACE(row.name);
        clear_syslog();
        std::string delimiter = "+";
        unsigned count = 42;
        char flags = 0;
        const bool good = *row.failure == '\0';
        EXPECT_EQ(parseOptChars(row.block, delimiter, count, flags), good);
        EXPECT_EQ(static_cast<unsigned char>(flags), row.flags);
        EXPECT_EQ(delimiter, row.delimiter);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(traces().size(), good ? 0U : 1U);
        EXPECT_TRUE(was_traced(row.failure));
    }
}

TEST_F(Scanner, AddsToTheFlagsThereAre) {
    std::string delimiter;
    unsigned count = 0;
    char flags = 0x10;
    EXPECT_TRUE(parseOptChars("h", delimiter, count, flags));
    EXPECT_EQ(flags, 0x11);
}

struct scan_row {
    const char *name;
    std::string format;
    unsigned long from = 0;
    bool found = true;
    unsigned long at = 0;
    std::string text = "";
    customIdFormat macro = MACRO_SHELF;
    unsigned flags = 0;
    const char *trace = "";
    const char *user_string = "none yet";
};

constexpr char NO_PREFIX[] = "<PPPOEIA> >> No macro identifier found";
constexpr char OPTIONS_FAILED[] = "<PPPOEIA> >> ERROR: parseOptChars failed";

const scan_row scan_rows[] = {
    {"a macro alone", "$PORT", 0, true, 0, "$PORT", MACRO_PORT},
    {"a macro later on", "$PORT$VLAN", 5, true, 5, "$VLAN", MACRO_VLAN},
    {"with options", "$z08PORT", 0, true, 0, "$z08PORT", MACRO_PORT, 0x06},
    {"longest: PORT_REM_ID", "$PORT_REM_ID", 0, true, 0, "$PORT_REM_ID", MACRO_PORT_REM_ID},
    {"longest: VLAN_NAME", "$VLAN_NAME", 0, true, 0, "$VLAN_NAME", MACRO_VLAN_NAME},
    {"first: AGENT_BOARD", "$AGENT_BOARD", 0, true, 0, "$AGENT_BOARD", MACRO_AGENT_BOARD},
    {"a name cut short", "$PORT_REM_I", 0, true, 0, "$PORT", MACRO_PORT},
    {"a name within a word", "$SUPPORT", 0, false, 0, "$SUPPORT", MACRO_PORT, 0, OPTIONS_FAILED},
    {"the last of two prefixes", "$$PORT", 0, true, 1, "$PORT", MACRO_PORT},
    {"a prefix as delimiter is the prefix", "$d$CLNT_MAC", 0, true, 2, "$CLNT_MAC", MACRO_CLNT_MAC},
    {"HEX with digits", "$0A0BHEX", 0, true, 0, "$0A0BHEX", MACRO_HEX, 0, "", "0A0B"},
    {"HEX with anything", "$h z!HEX", 0, true, 0, "$h z!HEX", MACRO_HEX, 0, "", "h z!"},
    {"no macro", "port 7", 0, false},
    {"a prefix alone", "$", 0, false},
    {"nothing left", "$PORT", 5, false},
    {"start past the end", "$PORT", 6, false, 0, "", MACRO_SHELF, 0,
     "<PPPOEIA> >> Failed sanity check"},
    {"start past the end of nothing", "", 1, false, 0, "", MACRO_SHELF, 0,
     "<PPPOEIA> >> Failed sanity check"},
    {"nothing", "", 0, false, 0, "", MACRO_SHELF, 0, "<PPPOEIA> >> Empty format string"},
    {"a name without prefix", "PORT-$VLAN", 0, false, 0, "", MACRO_SHELF, 0, NO_PREFIX},
    {"a prefix before the start", "$PORT", 1, false, 0, "", MACRO_SHELF, 0, NO_PREFIX},
    {"malformed options", "$x PORT $VLAN", 0, false, 0, "$x PORT", MACRO_PORT, 0, OPTIONS_FAILED},
    {"text between prefix and name", "$100 euro for PORT", 0, false, 0, "$100 euro for PORT",
     MACRO_PORT, 0x02, OPTIONS_FAILED},
};

TEST_F(Scanner, FindsMacrosAsTabled) {
    for (const scan_row &row : scan_rows) {
        SCOPED_TRACE(row.name);
        clear_syslog();
        unsigned long at = 0;
        std::string text = "left over";
        customIdFormat macro = MACRO_SHELF;
        char flags = 0;
        std::string delimiter;
        unsigned count = 0;
        std::string user_string = "none yet";
        EXPECT_EQ(getNextMacroFormatString(row.format, row.from, at, text, macro, flags, delimiter,
                                           count, user_string),
                  row.found);
        EXPECT_EQ(at, row.at);
        EXPECT_EQ(text, row.text);
        EXPECT_EQ(macro, row.macro);
        EXPECT_EQ(static_cast<unsigned char>(flags), row.flags);
        EXPECT_EQ(user_string, row.user_string);
        EXPECT_EQ(traces().empty(), *row.trace == '\0');
        EXPECT_TRUE(was_traced(row.trace));
    }
}

TEST_F(Scanner, KeepsDelimiterAndCountButNotFlagsFromMacroToMacro) {
    const std::string format = "$h3d-CLNT_MAC$dAGENT_MAC";
    unsigned long at = 0;
    std::string text, delimiter, user_string;
    customIdFormat macro{};
    char flags = 0;
    unsigned count = 0;
    const auto next = [&] {
        return getNextMacroFormatString(format, at + text.size(), at, text, macro, flags, delimiter,
                                        count, user_string);
    };
    ASSERT_TRUE(next());
    EXPECT_EQ(flags, 0x13);
    ASSERT_TRUE(next());
    EXPECT_EQ(text, "$dAGENT_MAC");
    EXPECT_EQ(flags, 0x10);
    EXPECT_EQ(delimiter, "-");
    EXPECT_EQ(count, 3U);
}

}  // namespace
