// Rendering a macro's value as its options say.
#include "idgen/formatter.h"
#include "tests/idgen/scenario.h"

using namespace ia::test;

namespace {

constexpr char H = macroStringPrintHex;
constexpr char N = macroStringNumOfChars;
constexpr char Z = macroStringPadZeroes;
constexpr char S = macroStringPadSpaces;
constexpr char D = macroStringDelimChar;

constexpr char WRONG_GROUPS[] = "<PPPOEIA> >> ERROR: invalid ipv6Parts.size(): ";
constexpr char PADDED_ADDRESS[] =
    "<PPPOEIA> >> ERROR: MAC/IP is not allowed for padding with specified number of characters";
constexpr char INVALID[] = "<PPPOEIA> >> ERROR: invalid flags";
constexpr char NO_DELIMITER[] = "<PPPOEIA> >> ERROR: macro not supported for delimiter";

struct format_row {
    const char *name;
    customIdFormat macro;
    const char *value;
    int flags;
    const char *result;  // null: refused
    unsigned count = 0;
    const char *delimiter = "";
    const char *trace = "";
};

constexpr char MAC[] = "00:1A:2B:3C:4D:5E";
constexpr char IP6[] = "2001:DB8::1";

const format_row format_rows[] = {
    {"as it is, no macro", customIdFormat{29}, "x", 0, "x"},
    {"cut", MACRO_PORT, "12345", N, "123", 3},
    {"not padded without padding", MACRO_PORT, "7", N, "7", 3},
    {"padding cuts", MACRO_PORT, "12345", Z | N, "12", 2},
    {"zeroes before a sign", MACRO_VPI, "-1", Z | N, "00-1", 4},
    {"text padded", MACRO_INTF, "", S | N, "  ", 2},
    {"count 100 in hex", MACRO_PORT, "7", H | N, nullptr, 100},
    {"a count not asked for", MACRO_PORT, "12345", 0, "12345", 3},
    {"padding to an earlier count is none", MACRO_PORT, "7", Z, "7", 3},
    {"flags that do not go together", MACRO_PORT, "7", Z, nullptr, 0, "", INVALID},

    {"hex 0", MACRO_PORT, "0", H, "00"},
    {"hex 5", MACRO_PORT, "5", H, "05"},
    {"hex 4000", MACRO_PORT, "4000", H, "0FA0"},
    {"hex of the largest", MACRO_PORT, "4294967295", H, "FFFFFFFF"},
    {"hex -1", MACRO_VCI, "-1", H, "FFFFFFFF"},
    {"hex of no number", MACRO_BOARD, "x9", H, "00"},
    {"hex of a number and more", MACRO_PORT, "12x9", H, "0C"},
    {"hex cut to a byte", MACRO_VLAN, "4000", H | N, "0F", 1},
    {"hex with spaces has zeroes", MACRO_VLAN, "100", H | S | N, "000064", 3},
    {"hex not padded without padding", MACRO_VLAN, "100", H | N, "64", 3},
    {"hex of a text", MACRO_INTF, "5", H, nullptr, 0, "", INVALID},

    {"MAC in hex, of nothing", MACRO_CLNT_MAC, "", H, ""},
    {"MAC in hex cut", MACRO_CLNT_MAC, MAC, H | N, "001A2B", 3},
    {"MAC in hex ignores the delimiter", MACRO_CLNT_MAC, MAC, H | D, "001A2B3C4D5E", 0, "-"},
    {"MAC delimited and cut", MACRO_CPE_MAC, MAC, D | N, "00.1A", 5, "."},
    {"MAC padded", MACRO_CPE_MAC, MAC, Z | N, nullptr, 20, "", PADDED_ADDRESS},
    {"MAC padded in hex", MACRO_CPE_MAC, MAC, H | S | N, nullptr, 8, "", PADDED_ADDRESS},
    {"MAC delimited, of nothing", MACRO_CPE_MAC, "", D, "", 0, "-"},

    {"IPv4 filled, no delimiter", MACRO_AGENT_IPV4, "10.1.2.255", Z | D, "010001002255"},
    {"IPv4 filled, of nothing", MACRO_AGENT_IPV4, "", Z, ""},
    {"IPv4 in hex and zeroes", MACRO_AGENT_IPV4, "10.1.2.3", H | Z, "0A010203"},
    {"IPv4 in hex, of nothing", MACRO_AGENT_IPV4, "", H, ""},
    {"IPv4 in hex, octets missing", MACRO_AGENT_IPV4, "10.1", H, "0A010000"},
    {"IPv4 with spaces, no count", MACRO_AGENT_IPV4, "10.1.2.3", S | D, "10-1-2-3", 0, "-"},
    {"IPv4 cut", MACRO_AGENT_IPV4, "10.1.2.3", N, "10.1", 4},

    {"IPv6 filled ::1", MACRO_AGENT_IPV6, "::1", Z, "0000:0000:0000:0000:0000:0000:0000:0001"},
    {"IPv6 filled, delimited", MACRO_AGENT_IPV6, "FE80::A", Z | D,
     "FE80-0000-0000-0000-0000-0000-0000-000A", 0, "-"},
    {"IPv6 filled, no delimiter", MACRO_AGENT_IPV6, "FE80::A", Z | D,
     "FE80000000000000000000000000000A"},
    {"IPv6 filled, of nothing", MACRO_AGENT_IPV6, "", Z, ""},
    {"IPv6 filled, no address", MACRO_AGENT_IPV6, "1:2:3", Z, nullptr, 0, "", WRONG_GROUPS},
    {"IPv6 in hex and zeroes", MACRO_AGENT_IPV6, IP6, H | Z, "20010DB8000000000000000000000001"},
    {"IPv6 in hex, of nothing", MACRO_AGENT_IPV6, "", H, ""},
    {"IPv6 in hex, no address", MACRO_AGENT_IPV6, "1::2::3", H, nullptr, 0, "", WRONG_GROUPS},
    {"IPv6 without delimiter", MACRO_AGENT_IPV6, IP6, D, "20010DB8000000000000000000000001"},
    {"IPv6 delimited, of nothing", MACRO_AGENT_IPV6, "", D, nullptr, 0, "-", WRONG_GROUPS},
    {"IPv6 delimited and cut", MACRO_AGENT_IPV6, IP6, D | N, "2001-DB", 7, "-"},

    {"delimiter of a text", MACRO_INTF, "1/1", D, nullptr, 0, "-", NO_DELIMITER},

    {"HEX odd, in lower case", MACRO_HEX, "abc", 0, "ABC0"},
    {"HEX of all digits", MACRO_HEX, "0123456789abcdefABCDEF", 0, "0123456789ABCDEFABCDEF"},
    {"HEX of nothing", MACRO_HEX, "", 0, ""},
    {"HEX is not cut", MACRO_HEX, "010203", N, "010203", 1},
    {"HEX with a colon", MACRO_HEX, "1:2", 0, nullptr},
    {"HEX with an at sign", MACRO_HEX, "@1", 0, nullptr},
    {"HEX with a high byte", MACRO_HEX, "1\xC1", 0, nullptr},
};

class Formatter : public IdTest {};

TEST_F(Formatter, RendersAsTabled) {
    for (const format_row &row : format_rows) {
        SCOPED_TRACE(row.name);
        clear_syslog();
        std::string result = "left over";
        const bool done = processMacroString(row.value, row.macro, static_cast<char>(row.flags),
                                             row.delimiter, row.count, result);
        EXPECT_EQ(done, row.result != nullptr);
        if (row.result) {
            EXPECT_EQ(result, row.result);
            EXPECT_TRUE(traces().empty());
        }
        if (row.trace == WRONG_GROUPS) {
            ASSERT_EQ(traces().size(), 1U);
            EXPECT_TRUE(traces()[0].starts_with(WRONG_GROUPS)) << traces()[0];
        } else {
            EXPECT_TRUE(was_traced(row.trace));
        }
    }
}

TEST_F(Formatter, SaysHowManyGroupsAnAddressHas) {
    std::string result;
    EXPECT_FALSE(processMacroString("1::2::3", MACRO_AGENT_IPV6, H, "", 0, result));
    EXPECT_TRUE(was_traced("<PPPOEIA> >> ERROR: invalid ipv6Parts.size(): 11\n"));
}

struct groups_row {
    const char *text;
    std::vector<std::string> groups;
};

TEST_F(Formatter, SplitsIpv6Addresses) {
    const std::string O = "0000";
    const groups_row groups_rows[] = {
        {"", {}},
        {":", {O}},
        {"::", {O, O, O, O, O, O, O, O}},
        {"::1", {O, O, O, O, O, O, O, "0001"}},
        {"1::", {"0001", O, O, O, O, O, O, O}},
        {"2001:db8::1", {"2001", "0db8", O, O, O, O, O, "0001"}},
        {"1:2:3:4:5:6:7:8", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
        {"1:2:3:4:5:6:7::", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", O}},
        {"1:2:3:4:5:6:7:8:", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
        {"1:2:3:4:5:6:7:8::", {"0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008"}},
        {"12345:1", {"12345", "0001"}},
        {"abcd", {"abcd"}},
    };
    for (const groups_row &row : groups_rows) {
        std::vector<std::string> groups;
        EXPECT_EQ(ipv6AddrStrToVector(row.text, groups), 0);
        EXPECT_EQ(groups, row.groups) << row.text;
    }
}

}  // namespace
