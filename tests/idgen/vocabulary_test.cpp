// What each macro takes, and which options go together.
#include "idgen/macros.h"
#include "tests/idgen/scenario.h"

#include <set>

using namespace ia::test;

namespace {

std::set<std::uint32_t> all_that(bool (*takes)(customIdFormat)) {
    std::set<std::uint32_t> macros;
    for (std::uint32_t type = 0; type < 40; ++type)
        if (takes(customIdFormat{type})) macros.insert(type);
    return macros;
}

TEST(Vocabulary, MacrosTakeOptionsByTheirValue) {
    EXPECT_EQ(
        all_that(macroIsSupportedForHex),
        (std::set<std::uint32_t>{1, 4, 5, 6, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 22, 28}));
    EXPECT_EQ(all_that(macroIsSupportedForDelimiter),
              (std::set<std::uint32_t>{16, 17, 18, 19, 28}));
    EXPECT_EQ(all_that(macroIsSupportedForUserString), (std::set<std::uint32_t>{26}));
}

struct flags_row {
    const char *name;
    customIdFormat macro;
    char flags;
    unsigned count;
    const char *refusal;  // empty: valid
};

constexpr char BOTH[] =
    "<PPPOEIA> >> ERROR: both macroStringPadZeroes and macroStringPadSpaces set";
constexpr char NO_WIDTH[] = "<PPPOEIA> >> ERROR: padding set, but zero characters";
constexpr char NO_COUNT[] = "<PPPOEIA> >> ERROR: macroStringNumOfChars set, but zero characters";
constexpr char NO_HEX[] = "<PPPOEIA> >> ERROR: macro not supported for HEX format";

const flags_row flags_rows[] = {
    {"both paddings", MACRO_PORT, 0x0C, 5, BOTH},
    {"both paddings before everything else", MACRO_SHELF, 0x0F, 0, BOTH},
    {"zeroes with a count", MACRO_PORT, 0x06, 1, ""},
    {"zeroes with an earlier macro's count", MACRO_PORT, 0x04, 5, ""},
    {"zeroes without a count", MACRO_PORT, 0x04, 0, NO_WIDTH},
    {"spaces and count 0", MACRO_PORT, 0x0A, 0, NO_WIDTH},
    {"zeroes without a count of a MAC", MACRO_CLNT_MAC, 0x04, 0, NO_WIDTH},
    {"zeroes without a count, IPv4", MACRO_AGENT_IPV4, 0x04, 0, ""},
    {"spaces without a count, IPv6", MACRO_AGENT_IPV6, 0x08, 0, ""},
    {"zeroes and count 0, IPv4", MACRO_AGENT_IPV4, 0x06, 0, NO_COUNT},
    {"count 0", MACRO_PORT, 0x02, 0, NO_COUNT},
    {"hex of a text", MACRO_VLAN_NAME, 0x01, 0, NO_HEX},
    {"hex of HEX", MACRO_HEX, 0x01, 0, NO_HEX},
    {"delimiter is not looked at", MACRO_SHELF, 0x10, 0, ""},
};

class Flags : public IdTest {};

TEST_F(Flags, GoTogetherAsTabled) {
    for (const flags_row &row : flags_rows) {
        SCOPED_TRACE(row.name);
        clear_syslog();
        const bool valid = *row.refusal == '\0';
        EXPECT_EQ(macroAreFlagsValid(row.macro, row.flags, "-", row.count), valid);
        EXPECT_EQ(traces().size(), valid ? 0U : 1U);
        EXPECT_TRUE(was_traced(row.refusal));
    }
}

}  // namespace
