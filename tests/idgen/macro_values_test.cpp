// Every macro's value, and every way it can be missing.
#include "diag/test_data.h"
#include "idgen/resolver.h"
#include "tests/idgen/scenario.h"

#include <sys/ioctl.h>
#include <cstring>

using namespace ia::test;

namespace {

struct value_row {
    const char *name;
    customIdFormat macro;
    const char *value;  // empty: missing
    std::uint32_t port = GEM;
    const char *trace = "";
    void (*change)(pppoeia_bridge &) = nullptr;
    idGenType gen = ID_GEN_FRAME;
    std::uint16_t vid = 100;
    std::uint16_t cvid = 5;
};

constexpr char NO_PORT[] = "<br0> >> pppoeia_port_index_find_by_id failed for port 77";
constexpr char NO_PVC_PORT[] = "<br0> >> pppoeia_port_index_find failed for port 77'";
constexpr char NOT_PVC[] = "<br0> >> Non-PVC interface\n";

using B = pppoeia_bridge;

const value_row value_rows[] = {
    {"shelf", MACRO_SHELF, "R2-S4"},
    {"shelf not set", MACRO_SHELF, "", GEM, "", [](B &b) { b.shelf_id[0] = '\0'; }},
    {"chassis", MACRO_CHASSIS, "7"},
    {"chassis is signed", MACRO_CHASSIS, "-2", GEM, "", [](B &b) { b.chassis_id = 0xFFFFFFFE; }},

    {"panel", MACRO_PANEL, "PNL-7", DSL},
    {"panel of validity 1", MACRO_PANEL, "A", UPLINK},
    {"panel of validity 2", MACRO_PANEL, "", BARE, "<br0> >> Cannot read valid panel"},
    {"panel without terminator", MACRO_PANEL, "1234567", DSL, "",
     [](B &b) { std::memcpy(b.ports[DSL - 1].location.panel, "12345678", 8); }},

    {"interface type", MACRO_INTF_TYPE, "atm", PVC},
    {"interface type empty", MACRO_INTF_TYPE, "", BARE, "<br0> >> Cannot read valid intf type"},
    {"interface type of no port", MACRO_INTF_TYPE, "", NO_SUCH_PORT, NO_PORT},

    {"agent board", MACRO_AGENT_BOARD, "3"},
    {"agent board not known", MACRO_AGENT_BOARD, "", GEM, "<br0> >> Cannot read ncfmGetMyBoardPos",
     [](B &) { node().board.reset(); }},
    {"board", MACRO_BOARD, "", GEM, "<br0> >> Cannot read valid board type"},

    {"port", MACRO_PORT, "12345", DSL},
    {"port is unsigned", MACRO_PORT, "4294967295", DSL, "",
     [](B &b) { b.ports[DSL - 1].location.port = 0xFFFFFFFF; }},
    {"port that was deleted", MACRO_PORT, "3", DELETED},
    {"port 0 is a never-used slot", MACRO_PORT, "0", NEVER_USED},
    {"port of the last slot", MACRO_PORT, "", LAST_SLOT,
     "<br0> >> pppoeia_port_index_find_by_id failed for port 13"},

    {"remote id", MACRO_PORT_REM_ID, "line-2", DSL},
    {"remote id of a PVC", MACRO_PORT_REM_ID, "own-4", PVC_UNSET},
    {"remote id of a PVC's parent", MACRO_PORT_REM_ID, "line-2", PVC,
     "<br0> >> Adding PORT_REM_ID from parent id: 2."},
    {"remote id of a GEM's parent", MACRO_PORT_REM_ID, "onu-agent", GEM,
     "<br0> >> Adding PORT_REM_ID from parent id: 5."},
    {"remote id empty at the parent", MACRO_PORT_REM_ID, "", GEM,
     "<br0> >> Adding PORT_REM_ID from parent id: 5.",
     [](B &b) { b.ports[ONU - 1].remote_id[0] = '\0'; }},
    {"remote id empty, not inherited", MACRO_PORT_REM_ID, "", BARE, "br_port_remote_id_get()=0"},
    {"remote id of a parent deleted", MACRO_PORT_REM_ID, "", GEM_GONE_PARENT,
     "<br0> >> pppoeia_port_remote_id_get failed for parent port 9"},
    {"remote id of parent 0", MACRO_PORT_REM_ID, "", GEM_NO_PARENT,
     "<br0> >> pppoeia_port_remote_id_get failed for parent port 0"},
    {"remote id of a parent past the table", MACRO_PORT_REM_ID, "", GEM_LOST,
     "<br0> >> pppoeia_port_remote_id_get failed for parent port 77"},
    {"remote id of a deleted port", MACRO_PORT_REM_ID, "", DELETED,
     "<br0> >> pppoeia_port_remote_id_get failed for port 9"},
    {"remote id of port 0", MACRO_PORT_REM_ID, "", NEVER_USED,
     "<br0> >> pppoeia_port_remote_id_get failed for port 0"},

    {"interface", MACRO_INTF, "3/31/200"},
    {"interface without name", MACRO_INTF, "", BARE, "<br0> >> Invalid port_id\n"},

    {"description", MACRO_INTF_DSCR, "desk", DSL},
    {"description of a GEM's parent", MACRO_INTF_DSCR, "flat 12", GEM,
     "<br0> >> Adding INTF_DSCR from parent id: 5."},
    {"description of a deleted parent", MACRO_INTF_DSCR, "old flat", GEM_GONE_PARENT,
     "<br0> >> Adding INTF_DSCR from parent id: 9."},
    {"description of parent 0", MACRO_INTF_DSCR, "", GEM_NO_PARENT,
     "<br0> >> Adding INTF_DSCR from parent id: 0."},
    {"description of a parent past the table", MACRO_INTF_DSCR, "", GEM_LOST,
     "<br0> >> pppoeia_port_index_find_by_id failed for parent port 77"},

    {"ONU of an ONU", MACRO_ONU, "31", ONU},
    {"ONU of a PVC", MACRO_ONU, "", PVC, "<br0> >> Not ONU or GEM interface"},
    {"GEM of an ONU", MACRO_VGEM, "", ONU, "<br0> >> Not GEM interface"},

    {"PVC interface", MACRO_PVC_INTF, "5", PVC},
    {"PVC interface of a GEM", MACRO_PVC_INTF, "", GEM, NOT_PVC},
    {"VPI never set", MACRO_VPI, "-1", PVC_UNSET},
    {"VPI of a GEM", MACRO_VPI, "", GEM, NOT_PVC},
    {"VPI of no port", MACRO_VPI, "", NO_SUCH_PORT, NO_PVC_PORT},
    {"VCI", MACRO_VCI, "35", PVC},
    {"VCI of a DSL port", MACRO_VCI, "", DSL, NOT_PVC},
    {"VCI of no port", MACRO_VCI, "", NO_SUCH_PORT, NO_PVC_PORT},

    {"client MAC of the frame", MACRO_CLNT_MAC, "02:00:5E:10:00:01"},
    {"client MAC of a test", MACRO_CLNT_MAC, "11:22:33:44:55:66", GEM, "", nullptr, ID_GEN_TEST},
    {"client MAC without a frame", MACRO_CLNT_MAC, "", GEM, "<br0> >> Invalid frame )\n",
     [](B &b) { b.frame.reset(); }},
    {"client MAC of zeros", MACRO_CLNT_MAC, "", GEM, "<br0> >> MAC is NULL\n",
     [](B &b) { b.frame->client = {}; }},

    {"agent MAC of zeros", MACRO_AGENT_MAC, "", GEM, "<br0> >> MAC is NULL\n",
     [](B &) { node().management_mac = Bytes(6); }},
    {"agent MAC not known", MACRO_AGENT_MAC, "", GEM, "<br0> >> pppoeia_get_local_mac failed\n",
     [](B &) { node().failing[SIOCGIFHWADDR] = ENODEV; }},

    {"agent IPv4 of high octets", MACRO_AGENT_IPV4, "192.0.2.255", GEM, "",
     [](B &) {
         node().ipv4 = {{192, 0, 2, 255}};
     }},
    {"agent IPv4 zero", MACRO_AGENT_IPV4, "", GEM, "<br0> >> ip NULL \n",
     [](B &) {
         node().ipv4 = {{0, 0, 0, 0}};
     }},
    {"agent IPv4 not known", MACRO_AGENT_IPV4, "", GEM, "<br0> >> ip NULL \n",
     [](B &) { node().ipv4.reset(); }},
    {"agent IPv4 without management", MACRO_AGENT_IPV4, "", GEM,
     "<br0> >> pppoeia_port_index_find_by_type failed for port 6\n",
     [](B &b) { b.ports[MANAGEMENT - 1].intf_kind = 0; }},
    {"agent IPv6 in upper case", MACRO_AGENT_IPV6, "2001:DB8::1"},
    {"agent IPv6 empty", MACRO_AGENT_IPV6, "", GEM, "<br0> >> ipv6_addr is NULL\n",
     [](B &) { node().ipv6 = ""; }},
    {"agent IPv6 not known", MACRO_AGENT_IPV6, "", GEM,
     "<br0> >> getIpv6Addr: ncfmGetIpv6 has failed\n", [](B &) { node().ipv6.reset(); }},
    {"agent IPv6 without terminator", MACRO_AGENT_IPV6,
     "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", GEM, "",
     [](B &) { node().ipv6 = std::string(60, 'a'); }},

    {"VLAN 0", MACRO_VLAN, "0", GEM, "", nullptr, ID_GEN_FRAME, 0},
    {"VLAN 4094", MACRO_VLAN, "4094", GEM, "", nullptr, ID_GEN_QUERY, 4094},
    {"VLAN of a test", MACRO_VLAN, "100", GEM, "", nullptr, ID_GEN_TEST, 7},
    {"no VLAN", MACRO_VLAN, "", GEM, "<br0> >> Invalid VLAN\n", nullptr, ID_GEN_FRAME, 0x0FFF},
    {"no VLAN, high bits set", MACRO_VLAN, "", GEM, "<br0> >> Invalid VLAN\n", nullptr,
     ID_GEN_FRAME, 0xFFFF},
    {"VLAN name", MACRO_VLAN_NAME, "internet"},
    {"VLAN name of a test", MACRO_VLAN_NAME, "internet", GEM, "", nullptr, ID_GEN_TEST, 7},
    {"VLAN name empty", MACRO_VLAN_NAME, "", GEM, "", nullptr, ID_GEN_FRAME, 200},
    {"VLAN name of no entry", MACRO_VLAN_NAME, "", GEM, "<br0> >> Cannot read VLAN name\n", nullptr,
     ID_GEN_FRAME, 101},
    {"VLAN name of no VLAN", MACRO_VLAN_NAME, "", GEM, "<br0> >> Invalid VLAN\n", nullptr,
     ID_GEN_FRAME, 0x0FFF},
    {"customer VLAN", MACRO_CVID, "5"},
    {"customer VLAN of a query", MACRO_CVID, "3999", GEM, "", nullptr, ID_GEN_QUERY},
    {"customer VLAN of a test", MACRO_CVID, "3999", GEM, "", nullptr, ID_GEN_TEST},
    {"no customer VLAN", MACRO_CVID, "", GEM, "<br0> >> Invalid CVID\n", nullptr, ID_GEN_FRAME, 100,
     0x0FFF},

    {"contact not set", MACRO_CONTACT, "", GEM, "", [](B &b) { b.contact[0] = '\0'; }},

    {"CPE serial of the ONU", MACRO_CPE_SERIAL, "KRVL00000042"},
    {"CPE serial of an ONU port", MACRO_CPE_SERIAL, "", ONU,
     "<br0> >> invalid intf type for port 5"},
    {"CPE serial of a lost parent", MACRO_CPE_SERIAL, "", GEM_LOST,
     "<br0> >> pppoeia_port_index_find_by_id failed for parent port 77"},
    {"CPE serial of a deleted parent", MACRO_CPE_SERIAL, "OLD0", GEM_GONE_PARENT},
    {"CPE serial of no port", MACRO_CPE_SERIAL, "", NO_SUCH_PORT, NO_PORT},
    {"CPE MAC of zeros", MACRO_CPE_MAC, "", GEM_GONE_PARENT, "<br0> >> MAC is NULL"},
    {"CPE MAC of a DSL port", MACRO_CPE_MAC, "", DSL, "<br0> >> invalid intf type for port 2"},
};

class MacroValue : public IdTest {
protected:
    MacroValue() {
        fill(bridge_);
        receive_frame(bridge_, 0xA064, 0x6005);
    }

    pppoeia_bridge bridge_{"br0", 13};
};

TEST_F(MacroValue, IsAsTabled) {
    for (const value_row &row : value_rows) {
        SCOPED_TRACE(row.name);
        know_the_platform();
        fill(bridge_);
        receive_frame(bridge_, 0xA064, 0x6005);
        if (row.change) row.change(bridge_);
        ia::test::clear_syslog();
        std::string value = "left over";
        EXPECT_TRUE(
            getMacroStringValue(&bridge_, row.macro, value, row.port, row.gen, row.vid, row.cvid));
        EXPECT_EQ(value, row.value);
        EXPECT_TRUE(was_traced(row.trace));
    }
}

TEST_F(MacroValue, OfATestIsTheTestDatasPort) {
    customFormatTestData_t data;
    data.intfId = DSL;
    data.vlan = 0x0FFF;
    data.cvid = 0x0FFF;
    data.clntMac = {};
    ia::set_test_data(data);
    const auto value_of = [this](customIdFormat macro, idGenType gen) {
        std::string value;
        getMacroStringValue(&bridge_, macro, value, GEM, gen, 100, 5);
        return value;
    };
    EXPECT_EQ(value_of(MACRO_INTF, ID_GEN_TEST), "2/1");
    EXPECT_EQ(value_of(MACRO_INTF, ID_GEN_QUERY), "3/31/200");
    EXPECT_EQ(value_of(MACRO_VLAN, ID_GEN_TEST), "");
    EXPECT_EQ(value_of(MACRO_VLAN, ID_GEN_QUERY), "100");
    EXPECT_EQ(value_of(MACRO_CVID, ID_GEN_QUERY), "");
    EXPECT_EQ(value_of(MACRO_CLNT_MAC, ID_GEN_QUERY), "");
    EXPECT_TRUE(was_traced("<br0> >> MAC is NULL\n"));
}

TEST_F(MacroValue, NeverComesFromTcontHexOrAnUnknownMacro) {
    const std::pair<std::uint32_t, const char *> macros[] = {
        {MACRO_TCONT, "<br0> >> Unknown macro: 12.\n"},
        {MACRO_HEX, "<br0> >> Unknown macro: 26.\n"},
        {29, "<br0> >> Unknown macro: 29.\n"},
    };
    for (const auto &[macro, trace] : macros) {
        std::string value = "left over";
        EXPECT_FALSE(
            getMacroStringValue(&bridge_, customIdFormat{macro}, value, GEM, ID_GEN_FRAME, 100, 5));
        EXPECT_EQ(value, "");
        EXPECT_TRUE(was_traced(trace));
    }
}

TEST_F(MacroValue, OfTheAgentsIpv4AsksForNineCharactersOfTheFirstManagementDevice) {
    std::strcpy(bridge_.ports[MANAGEMENT - 1].dev_name, "management0");
    bridge_.ports[GEM_LOST - 1].intf_kind = INTF_KIND_MANAGEMENT;
    std::string value;
    getMacroStringValue(&bridge_, MACRO_AGENT_IPV4, value, GEM, ID_GEN_FRAME, 100, 5);
    EXPECT_EQ(node().asked_interface, "managemen");
}

}  // namespace
