#include "tests/idgen/custom_id_rows.h"

namespace ia::test {

namespace {

constexpr char READING_TCONT[] = "<br0> >> Error reading macro TCONT. Appending macro string.";
constexpr char READING_HEX[] = "<br0> >> Error reading macro HEX. Appending macro string.";
constexpr char BINARY[] = "<br0> >> Generating binary string";

const id_row id_rows[] = {
    {"nothing", "", "", "", GEM, 100, "<PPPOEIA> >> Empty format string"},
    {"text alone", "line 7", "line 7", "", GEM, 100, "<br0> >> Generated custom ID 'line 7'."},
    {"text of high bytes", "\xC3\xA9\xFF", "\xC3\xA9\xFF"},
    {"a prefix alone", "$", "$"},
    {"prefixes alone", "$$$", "$$$"},
    {"two prefixes", "$$PORT", "$3"},
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
    {"a query", "$CVID $VLAN $CLNT_MAC", "3999 100 11:22:33:44:55:66", "", GEM, 100, "",
     ID_GEN_QUERY},
    {"a test", "$CVID $VLAN $INTF", "3999 100 mng", "", GEM, 7, "", ID_GEN_TEST},

    {"zeroes", "$z5PORT", "00003"},
    {"spaces", "$s5PORT|", "    3|"},
    {"count cuts", "$3PORT", "123", "", DSL},
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
    {"two counts, the last", "$1z3PORT", "003"},
    {"delimiter", "$d-CLNT_MAC", "02-00-5E-10-00-01"},
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

}  // namespace

std::span<const id_row> custom_id_rows() {
    return id_rows;
}

}  // namespace ia::test
