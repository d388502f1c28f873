// Whole custom IDs, from format to text or bytes.
#include "diag/test_data.h"
#include "idgen/assembly.h"
#include "idgen/plan.h"
#include "tests/idgen/scenario.h"

#include <algorithm>
#include <ctime>
#include <limits>

using namespace ia::test;

namespace {

struct id_row {
    const char *name;
    std::string format;
    std::string text;
    const char *bytes = "";  // empty: a text ID
    std::uint32_t port = GEM;
    std::uint16_t vid = 100;
    const char *trace = "";
    idGenType gen = ID_GEN_FRAME;
};

constexpr char READING_TCONT[] = "<br0> >> Error reading macro TCONT. Appending macro string.";
constexpr char READING_HEX[] = "<br0> >> Error reading macro HEX. Appending macro string.";
constexpr char BINARY[] = "<br0> >> Generating binary string";

const id_row rows[] = {
    {"nothing", "", "", "", GEM, 100, "<PPPOEIA> >> Empty format string"},
    {"text alone", "line 7", "line 7", "", GEM, 100, "<br0> >> Generated custom ID 'line 7'."},
    {"text of high bytes", "\xC3\xA9\xFF", "\xC3\xA9\xFF"},
    {"a prefix alone", "$", "$"},
    {"prefixes alone", "$$$", "$$$"},
    {"two prefixes", "$$PORT", "$3"},
    {"price", "5$ on $PORT", "5$ on 3"},
    {"port", "port $PORT", "port 12345", "", DSL},
    {"shelf and chassis", "$SHELF/$CHASSIS", "R2-S4/7"},
    {"panel and type", "$PANEL-$INTF_TYPE", "PNL-7-dsl", "", DSL},
    {"boards", "$AGENT_BOARD.$BOARD.", "3.."},
    {"remote id", "$PORT_REM_ID", "onu-agent"},
    {"interface and description", "$INTF ($INTF_DSCR)", "3/31/200 (flat 12)"},
    {"ONU and GEM", "$ONU:$VGEM", "31:200"},
    {"PVC", "$PVC_INTF:$VPI.$VCI", "5:8.35", "", PVC},
    {"addresses", "$CLNT_MAC $AGENT_MAC", "02:00:5E:10:00:01 0A:0B:0C:0D:0E:0F"},
    {"IP addresses", "$AGENT_IPV4 $AGENT_IPV6", "10.1.2.3 2001:DB8::1"},
    {"VLANs", "$VLAN $VLAN_NAME $CVID", "100 internet 5"},
    {"system", "$SYSNAME, $LOCATION, $CONTACT", "olt-7, Hall B, noc@example.net"},
    {"CPE", "$CPE_SERIAL $CPE_MAC", "KRVL00000042 00:1A:2B:3C:4D:5E"},
    {"side by side", "$PORT$VLAN$ONU", "310031"},
    {"name after a macro", "$PORT_REM_ID_X", "onu-agent_X"},
    {"macro twice", "$VLAN.$VLAN", "100.100"},
    {"a query", "$CVID $VLAN $CLNT_MAC", "3999 100 11:22:33:44:55:66", "", GEM, 100, "",
     ID_GEN_QUERY},
    {"a test", "$CVID $VLAN $INTF", "3999 100 mng", "", GEM, 7, "", ID_GEN_TEST},

    {"zeroes", "$z5PORT", "00003"},
    {"spaces", "$s5PORT|", "    3|"},
    {"count cuts", "$3PORT", "123", "", DSL},
    {"count 99", "$99PORT", "3"},
    {"count 100", "$100PORT", "$100PORT"},
    {"count of thirty zeroes and 4", "$z0000000000000000000000000000004PORT", "0003"},
    {"count past every number", "$99999999999999999999PORT", "$99999999999999999999PORT"},
    {"count that would wrap", "$18446744073709551617PORT", "$18446744073709551617PORT"},
    {"count 0", "$0PORT", "$0PORT", "", GEM, 100,
     "<PPPOEIA> >> ERROR: macroStringNumOfChars set, but zero characters"},
    {"zeroes and count 0", "$z0PORT", "$z0PORT", "", GEM, 100,
     "<PPPOEIA> >> ERROR: padding set, but zero characters"},
    {"zeroes without count", "$zPORT", "$zPORT", "", GEM, 100,
     "<PPPOEIA> >> ERROR: padding set, but zero characters"},
    {"zeroes with an earlier count", "$2VLAN $zPORT", "10 3"},
    {"spaces, then hex", "$shPORT", "$shPORT", "", GEM, 100,
     "<PPPOEIA> >> ERROR: padding set, but zero characters"},
    {"two counts, the last", "$1z3PORT", "003"},
    {"delimiter", "$d-CLNT_MAC", "02-00-5E-10-00-01"},
    {"delimiter h", "$dhCLNT_MAC", "02h00h5Eh10h00h01"},
    {"delimiter of a high byte",
     "$d\xB7"
     "CPE_MAC",
     "00\xB7"
     "1A\xB7"
     "2B\xB7"
     "3C\xB7"
     "4D\xB7"
     "5E"},
    {"no delimiter", "$dCLNT_MAC", "02005E100001"},
    {"no delimiter, an earlier one", "$d-CLNT_MAC $dAGENT_IPV4", "02-00-5E-10-00-01 10-1-2-3"},
    {"delimiter and count", "$d.5CLNT_MAC", "02.00"},
    {"delimiter of a number", "$d-PORT", "$d-PORT", "", GEM, 100,
     "<PPPOEIA> >> ERROR: macro not supported for delimiter"},
    {"IPv4 filled", "$zAGENT_IPV4", "010.001.002.003"},
    {"IPv4 filled, delimited", "$zd-AGENT_IPV4", "010-001-002-003"},
    {"IPv4 padded to a count", "$z5AGENT_IPV4", "$z5AGENT_IPV4"},
    {"IPv4 after a count", "$4PORT $zAGENT_IPV4", "3 010.001.002.003"},
    {"IPv6 filled", "$zAGENT_IPV6", "2001:0DB8:0000:0000:0000:0000:0000:0001"},
    {"IPv6 delimited", "$d.AGENT_IPV6", "2001.DB8..1"},

    {"no value", "<$VLAN>", "<>", "", GEM, 0x0FFF},
    {"no value, padded", "<$z3VLAN>", "<000>", "", GEM, 0x0FFF},
    {"no port", "$INTF/$PORT/$ONU/$VLAN", "///100", "", NO_SUCH_PORT},
    {"T-CONT", "$TCONT", "$TCONT", "", GEM, 100, READING_TCONT},
    {"T-CONT among others", "$PORT $hz2TCONT $VLAN", "3 $hz2TCONT 100", "", GEM, 100,
     READING_TCONT},
    {"HEX without digits", "$HEX", "$HEX", "", GEM, 100, READING_HEX},
    {"HEX with other than digits", "$0x12HEX $PORT", "$0x12HEX 3"},
    {"a name without prefix", "PORT-$VLAN", "PORT-$VLAN", "", GEM, 100,
     "<PPPOEIA> >> No macro identifier found"},
    {"a name without prefix, later", "$VLAN PORT $PORT", "100 PORT $PORT"},
    {"malformed first", "$x PORT $VLAN", "$x PORT $VLAN", "", GEM, 100,
     "<PPPOEIA> >> ERROR: parseOptChars failed"},
    {"malformed second", "$PORT $hhVLAN $ONU", "3 $hhVLAN $ONU", "", GEM, 100,
     "<PPPOEIA> >> Duplicate hex option"},
    {"two paddings", "$z3s4PORT", "$z3s4PORT", "", GEM, 100,
     "<PPPOEIA> >> Duplicate padding option"},
    {"spaces without count", "$sPORT", "$sPORT", "", GEM, 100,
     "<PPPOEIA> >> Unexpected exit! Number of characters should follow."},
    {"hex of a text", "$hINTF $PORT", "$hINTF 3", "", GEM, 100,
     "<PPPOEIA> >> ERROR: macro not supported for HEX format"},
    {"lower-case name", "$port $PORT", "$port 3"},

    {"hex", "$hVLAN", "64", "64", GEM, 100, BINARY},
    {"text and hex", "A$hVLAN", "A64", "41 64"},
    {"hex and text", "$hVLAN!", "64!", "64 21"},
    {"hex in two bytes", "$hVLAN", "0FA0", "0F A0", GEM, 4000},
    {"hex padded", "$hz4PORT", "00000003", "00 00 00 03"},
    {"hex padded with spaces", "$hs2PORT", "0003", "00 03"},
    {"hex cut", "$h1VLAN", "0F", "0F", GEM, 4000},
    {"hex of a missing number", "$hVLAN", "00", "00", GEM, 0x0FFF},
    {"hex of a PVC never set", "$hVPI", "FFFFFFFF", "FF FF FF FF", PVC_UNSET},
    {"hex of everything numeric", "$hCHASSIS$hAGENT_BOARD$hBOARD$hPORT$hONU$hVGEM$hCVID",
     "07030003"
     "1F"
     "C8"
     "05",
     "07 03 00 03 1F C8 05"},
    {"hex of the PVC", "$hPVC_INTF$hVPI$hVCI", "050823", "05 08 23", PVC},
    {"hex MACs", "$hCLNT_MAC$h3CPE_MAC", "02005E100001001A2B", "02 00 5E 10 00 01 00 1A 2B"},
    {"hex agent", "$hAGENT_MAC$hAGENT_IPV4", "0A0B0C0D0E0F0A010203",
     "0A 0B 0C 0D 0E 0F 0A 01 02 03"},
    {"hex IPv6", "$hAGENT_IPV6", "20010DB8000000000000000000000001",
     "20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01"},
    {"hex beats the delimiter", "$hd-CPE_MAC", "001A2B3C4D5E", "00 1A 2B 3C 4D 5E"},
    {"hex beside its own macro kept", "$hVLAN$d-PORT", "64$d-PORT", "64 24 64 2D 50 4F 52 54"},
    {"HEX", "$0102HEX", "0102", "01 02"},
    {"HEX of odd digits", "$abcHEX", "ABC0", "AB C0"},
    {"HEX and text digits", "01$01HEX01", "010101", "30 31 01 30 31"},
    {"HEX twice", "$01HEX$02HEX", "0102", "01 02"},
    {"HEX with option letters", "$d5HEX", "D5", "D5"},
    {"HEX, then HEX without digits", "$01HEX$HEX", "01$HEX", "01 24 48 45 58"},
    {"an empty hex holds its place", "$hCPE_MAC$hVLAN", "64", "36 34", GEM_GONE_PARENT},
    {"an empty hex alone is a text", "$hCPE_MAC", "", "", GEM_GONE_PARENT, 100, BINARY},
    {"an empty hex, then a text", "$hCPE_MAC-", "-", "2D", GEM_GONE_PARENT},
    {"high bytes beside hex", "\xFF$hVLAN",
     "\xFF"
     "64",
     "FF 64"},
};

class CustomId : public IdTest {
protected:
    CustomId() {
        fill(bridge_);
        receive_frame(bridge_, 100, 5);
    }

    std::string make(const std::string &format, std::uint32_t port = GEM, std::uint16_t vid = 100,
                     idGenType gen = ID_GEN_FRAME) {
        clear_syslog();
        binary_.clear();
        std::string id = "left over";
        EXPECT_TRUE(genCustomId(&bridge_, port, vid, 5, format, id, binary_, gen));
        return id;
    }

    // The frame path's plan, made anew and run again, gives what the rule gave.
    void expect_planned(const std::string &format, const std::string &id, std::uint32_t port,
                        std::uint16_t vid) {
        char out[64];
        ia::plan_slot slot;
        for (int run = 0; run < 2; ++run) {
            std::vector<std::uint8_t> planned;
            ia::run_plan(slot, format.c_str(), bridge_, port, vid, 5, out, planned);
            EXPECT_EQ(out, id.substr(0, 63)) << format;
            EXPECT_EQ(planned, binary_) << format;
        }
    }

    pppoeia_bridge bridge_{"br0", 13};
    std::vector<std::uint8_t> binary_;
};

TEST_F(CustomId, IsAsTabled) {
    for (const id_row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(make(row.format, row.port, row.vid, row.gen), row.text);
        EXPECT_EQ(hex_dump(binary_), row.bytes);
        EXPECT_TRUE(was_traced(row.trace));
        EXPECT_TRUE(was_traced("<br0> >> genCustomId"));
        if (row.gen == ID_GEN_FRAME) expect_planned(row.format, row.text, row.port, row.vid);
    }
}

TEST_F(CustomId, OfTextIsCutAt63Characters) {
    EXPECT_EQ(make(std::string(63, 'x')), std::string(63, 'x'));
    for (const std::string &line : traces()) EXPECT_EQ(line.find("Cutting"), std::string::npos);
    EXPECT_EQ(make(std::string(64, 'x')), std::string(63, 'x'));
    EXPECT_TRUE(was_traced("<br0> >> Cutting CHAR string from 64 to 63 chars"));
}

TEST_F(CustomId, OfBytesIsCutAt63BytesAndItsTextIsNot) {
    EXPECT_EQ(make(std::string(62, 'x') + "$hVLAN"), std::string(62, 'x') + "64");
    EXPECT_EQ(binary_.size(), 63U);
    EXPECT_EQ(binary_.back(), 0x64);
    EXPECT_EQ(make(std::string(63, 'x') + "$hVLAN"), std::string(63, 'x') + "64");
    EXPECT_EQ(binary_, std::vector<std::uint8_t>(63, 'x'));
    EXPECT_TRUE(was_traced("<br0> >> Cutting BIN string from 64 to 63 bytes"));
}

// The platform's IPv6 text is not checked: a group of five digits makes a run of
// 33 characters, whose last byte lacks a digit.
TEST_F(CustomId, KeepsTheBytesBeforeAHalfOne) {
    platform().ipv6 = "1:2:3:4:5:6:7:12345";
    EXPECT_EQ(make("$hAGENT_IPV6"),
              "0001000200030004000500060007"
              "12345");
    EXPECT_EQ(hex_dump(binary_), "00 01 00 02 00 03 00 04 00 05 00 06 00 07 12 34");
    EXPECT_TRUE(was_traced("<br0> >> idStringToBinaryVector failed!"));
}

// A format comes from an operator: its cost must not grow with its square.
TEST_F(CustomId, CostsNoMoreThanItsLength) {
    const auto repeated = [](const char *text, std::size_t count) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    };
    const auto cost = [this](const std::string &format) {
        std::clock_t least = std::numeric_limits<std::clock_t>::max();
        for (int round = 0; round < 3; ++round) {
            const std::clock_t start = std::clock();  // of the processor, not of the wall
            make(format);
            least = std::min(least, std::clock() - start);
        }
        return least;
    };
    struct pattern {
        const char *before, *text, *after;
    };
    const pattern formats[] = {
        {"", "$", ""},      {"", "$", "PORT"}, {"", "$PORT", ""},      {"", "$hVLAN", ""},
        {"", "$TCONT", ""}, {"", "PORT", ""},  {"", "$100PORT", ""},   {"$", "9", "PORT"},
        {"", "AGENT_", ""}, {"$", "F", "HEX"}, {"", "$$$PVC_INT", ""}, {"", "x", "$PORT"},
    };
    const LogLevel quiet(6);
    for (const pattern &format : formats) {
        const auto of_length = [&](std::size_t count) {
            return cost(format.before + repeated(format.text, count) + format.after);
        };
        const std::clock_t slack = CLOCKS_PER_SEC / 100;
        EXPECT_LT(of_length(8000), 8 * 3 * of_length(1000) + slack) << format.text;
    }
}

TEST_F(CustomId, ExpandsWhateverBytesThereAre) {
    std::uint32_t state = 1;
    const auto choose = [&state](std::size_t count) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % count;
    };
    const LogLevel quiet(6);
    std::vector<std::string> pieces = {"$", "$", "$", "h", "z", "s", "d", "9", "$h", "\xFF", "12"};
    for (const ia::macro_rule &rule : ia::macro_rules()) pieces.emplace_back(rule.name);
    for (int round = 0; round < 20000; ++round) {
        std::string format;
        for (int piece = 0; piece < 12; ++piece) format += pieces[choose(pieces.size())];
        const auto port = static_cast<std::uint32_t>(choose(LAST_SLOT + 1));
        const std::uint16_t vid = choose(2) ? 100 : 0x0FFF;
        const std::string id = make(format, port, vid);
        EXPECT_LE(binary_.size(), 63U);
        EXPECT_TRUE(!binary_.empty() || id.size() <= 63) << id;
        expect_planned(format, id, port, vid);
    }
    make(std::string("$PORT\0$VLAN", 11));
}

}  // namespace
