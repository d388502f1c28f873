// The report on a bridge, as the operator reads it.
#include "tests/diag/operators_terminal.h"

#include <algorithm>
#include <array>

using namespace ia::test;

namespace {

class Dump : public OperatorsTerminal {
protected:
    void add_port(std::uint32_t id, const char *dev, const char *name) {
        pppoeia_port_info info{};
        std::copy_n("eth", 3, info.intf_type);
        ASSERT_EQ(cache_pppoeia_port_add(br, id, dev, name, &info), 0);
    }
};

constexpr const char *global =
    " Global data:\n"
    " ------------\n"
    " pppoeia_cid_format: '$PORT'\n"
    " pppoeia_rid_format: '$VLAN'\n"
    " stag_ethertype_nf: 0x88a8\n"
    "\n"
    " port_vlan data:\n"
    " ---------------\n";
constexpr const char *entries_of_2 =
    " \tPort Id: 2, dev name: 'dev2', port_name: '1/1/2': \n"
    "\t\tVlan: 100:\n"
    "\t\t\tcid_mode: 2\n"
    "\t\t\tcid_format: 'c'\n"
    "\t\t\trid_format: ''\n"
    "\t\t\tprev vlan_id: /\n"
    "\t\t\tnext vlan_id: 200\n"
    "\t\tVlan: 200:\n"
    "\t\t\tcid_mode: -1\n"
    "\t\t\tcid_format: ''\n"
    "\t\t\trid_format: 'r'\n"
    "\t\t\tprev vlan_id: 100\n"
    "\t\t\tnext vlan_id: /\n";
constexpr const char *entries_of_5 =
    " \tPort Id: 5, dev name: 'dev5', port_name: '1/1/5': \n"
    "\t\tVlan: 7:\n"
    "\t\t\tcid_mode: 0\n"
    "\t\t\tcid_format: ''\n"
    "\t\t\trid_format: ''\n"
    "\t\t\tprev vlan_id: /\n"
    "\t\t\tnext vlan_id: /\n";
constexpr const char *ports =
    "\n"
    " port data:\n"
    " ---------------\n";
constexpr const char *equipment_of_2 =
    " \tPort Id: 2, dev name: 'dev2', port_name: '1/1/2', CPE serial: SN2', "
    "CPE MAC: 02:00:00:00:00:AB\n";
constexpr const char *vlans =
    "\n"
    " vlan data:\n"
    " ---------------\n"
    "\tVlan: 10, name: '', prev: /, next: 20\n"
    "\tVlan: 20, name: 'iptv', prev: 10, next: 30\n"
    "\tVlan: 30, name: '', prev: 20, next: /\n";

TEST_F(Dump, EverythingAndOnePort) {
    add_port(5, "dev5", "1/1/5");
    add_port(2, "dev2", "1/1/2");
    cache_pppoeia_circuit_id_format_set(br, "$PORT");
    cache_pppoeia_remote_id_format_set(br, "$VLAN");
    cache_pppoeia_remote_id_format_port_vlan_set(br, 2, 200, "r");
    cache_pppoeia_circuit_id_format_port_vlan_set(br, 2, 100, "c");
    cache_pppoeia_circuit_id_mode_port_vlan_set(br, 2, 100, PPPOEIA_CID_CUSTOM);
    cache_pppoeia_circuit_id_mode_port_vlan_set(br, 5, 7, PPPOEIA_CID_DEFAULT);
    fe_pppoeia_bridge_cpe_serial_set(br, 2, "SN2");
    fe_pppoeia_bridge_cpe_mac_set(br, 2, {{2, 0, 0, 0, 0, 0xAB}});
    for (const std::uint16_t vid : std::to_array<std::uint16_t>({20, 10, 30}))
        cache_pppoeia_vlan_add(br, vid);
    cache_pppoeia_vlan_name_set(br, 20, "iptv");

    EXPECT_EQ(fe_pppoeia_dump(br, 0, tty()), 0);
    EXPECT_EQ(written(),
              std::string(global) + entries_of_2 + entries_of_5 + ports + equipment_of_2 + vlans);
    EXPECT_EQ(fe_pppoeia_dump(br, 5, tty()), 0);
    EXPECT_EQ(written(), std::string(global) + entries_of_5 + ports + vlans);
}

TEST_F(Dump, OfAnUnknownBridge) {
    EXPECT_EQ(fe_pppoeia_dump("none", 0, tty()), 1);
    EXPECT_EQ(written(), "");
}

}  // namespace
