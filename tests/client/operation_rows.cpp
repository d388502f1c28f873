#include "tests/client/operation_rows.h"

#include "diag/test_data.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"

namespace ia::test {

namespace {

// --- what can be looked at -------------------------------------------------------

std::string shown(int result, const std::string &value) {
    return result == 0 ? value : "refused " + std::to_string(result);
}

template <auto Get, class Number = std::uint32_t>
std::string number() {
    Number value{};
    const int result = Get(&value);
    return shown(result, std::to_string(value));
}
template <auto Get>
std::string of_bridge() {
    std::uint32_t value = 0;
    const int result = Get(br, &value);
    return shown(result, std::to_string(value));
}
template <auto Get>
std::string text_of_bridge() {
    char value[PPPOEIA_FORMAT_SIZE] = "";
    const int result = Get(br, value);
    return shown(result, value);
}
template <auto Get>
std::string of_port() {
    std::uint32_t value = 0;
    const int result = Get(br, 1, &value);
    return shown(result, std::to_string(value));
}
template <auto Get>
std::string text_of_port() {
    char value[PPPOEIA_FORMAT_SIZE] = "";
    const int result = Get(br, 1, value);
    return shown(result, value);
}
template <auto Get>
std::string text_of_entry() {
    char value[PPPOEIA_FORMAT_SIZE] = "";
    const int result = Get(br, 1, 100, value);
    return shown(result, value);
}

std::string nothing() {
    return {};
}
std::string bridges() {
    if (!bridge_list_exists()) return "no list";
    std::string names;
    for (const BridgePtr &bridge : bridge_list_snapshot())
        names += std::string(bridge->name) + ":" + std::to_string(bridge->port_limit) + " ";
    return names;
}
std::string ports() {
    const LockedBridge bridge(br);
    std::string all;
    for (const pppoeia_port &port : bridge->ports)
        if (port.present())
            all += std::to_string(port.port_id) + " " + port.dev_name + " " + port.port_name + " " +
                   port.intf_type + " " + std::to_string(port.parent_id) + " " +
                   std::to_string(port.intf_kind) + ";";
    return all;
}
std::string location() {
    const LockedBridge bridge(br);
    const pppoeia_port &port = bridge->ports[0];
    const pppoeia_port_location &at = port.location;
    return std::string(port.port_name) + " " + at.panel + " " + std::to_string(at.value) + " " +
           std::to_string(at.panel_validity) + " " + std::to_string(at.port) + " " +
           std::to_string(at.onu_or_pvc) + " " + std::to_string(at.gem);
}
std::string entries() {
    const LockedBridge bridge(br);
    std::string all;
    for (const auto &[vid, entry] : bridge->ports[0].port_vlans) all += std::to_string(vid) + " ";
    return all;
}
std::string named_vlans() {
    const LockedBridge bridge(br);
    std::string all;
    for (const auto &[vid, vlan] : bridge->vlans)
        all += std::to_string(vid) + "'" + vlan.name + "' ";
    return all;
}
std::string vlan_100() {
    std::uint32_t on = 0;
    const int result = pppoeia_bridge_vlan_get(br, 100, &on);
    return shown(result, std::to_string(on));
}
std::string entry_mode() {
    std::uint32_t mode = 0;
    const int result = pppoeia_circuit_id_mode_port_vlan_get(br, 1, 100, &mode);
    return shown(result, std::to_string(mode));
}
std::string pvc() {
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    const int result = pppoeia_port_pvc_get(br, 1, &vpi, &vci);
    return shown(result, std::to_string(vpi) + "." + std::to_string(vci));
}
std::string cpe_mac() {
    const LockedBridge bridge(br);
    return to_hex({bridge->ports[0].cpe_mac.bytes, bridge->ports[0].cpe_mac.bytes + 6});
}
std::string cpe_serial() {
    char serial[PPPOEIA_CPE_SERIAL_SIZE] = "";
    const int result = fe_pppoeia_bridge_cpe_serial_get(br, 1, serial);
    return shown(result, serial);
}
std::string trial_vlan() {
    return std::to_string(test_data().vlan);
}
std::string trial_debug() {
    return ia::test_debug ? "on" : "off";
}

// --- blocks ------------------------------------------------------------------------

constexpr pppoeia_port_location plugged{"B",        0x0102,     {0xEE, 0xFF}, 1,
                                        0x0A0B0C0D, 0x11223344, 0x55667788};
constexpr const char *plugged_bytes =
    "'B' 00000000000000 0201 eeff 01000000 0d0c0b0a 44332211 88776655";
constexpr pppoeia_port_info info{0x01020304, "atm", 9, plugged};
const std::string info_bytes =
    std::string("04030201 'atm' 000000000000000000 09000000 ") + plugged_bytes;

int stats_of_bridge() {
    pppoeia_stats stats{9, 9, 9, 9, 9, 9, 9, 9, 9};
    const int result = pppoeia_bridge_stats_get(br, &stats);
    return result != 0 ? result : static_cast<int>(stats.padi + stats.bypassed);
}
int stats_of_port() {
    pppoeia_stats stats{9, 9, 9, 9, 9, 9, 9, 9, 9};
    const int result = pppoeia_port_stats_get(br, 1, &stats);
    return result != 0 ? result : static_cast<int>(stats.padi + stats.bypassed);
}
int circuit_id() {
    char id[PPPOEIA_ID_SIZE];
    return gen_circuit_id_by_intf_vlan(br, 1, 0xFFF, id);
}
int remote_id() {
    char id[PPPOEIA_ID_SIZE];
    return gen_remote_id_by_intf_vlan(br, 1, 0xFFF, id);
}

// clang-format off
const std::vector<OperationRow> rows = {
    // the process, the bridge
    {0, "init", {}, [] { return pppoeia_init(); }, bridges, ""},
    {2, "log_level_set", {u32(0xFFFFFFFE)}, [] { return pppoeia_log_level_set(-2); },
     number<pppoeia_log_level_get, std::int32_t>, "3"},
    {4, "debug_admin_state_set", {u32(7)}, [] { return pppoeia_debug_admin_state_set(7); },
     number<pppoeia_debug_admin_state_get>, "1"},
    {44, "conf_event", {u32(5)}, [] { return ppppoeia_conf_event(5); }, nothing, ""},
    {6, "bridge_add", {text(br), u32(300)}, [] { return pppoeia_bridge_add(br, 300); }, bridges,
     "br0:300 "},
    {17, "bridge_debug_set", {text(br), u32(0)}, [] { return pppoeia_bridge_debug_set(br, 0); },
     of_bridge<pppoeia_bridge_debug_get>, "0"},
    {8, "bridge_max_pdu_set", {text(br), u32(1492)},
     [] { return pppoeia_bridge_max_pdu_set(br, 1492); }, of_bridge<pppoeia_bridge_max_pdu_get>,
     "1492"},
    {10, "bridge_state_set", {text(br), u32(0)}, [] { return pppoeia_bridge_state_set(br, 0); },
     of_bridge<pppoeia_bridge_state_get>, "0"},
    {12, "bridge_vlan_set", {text(br), u16(100), u32(1)},
     [] { return pppoeia_bridge_vlan_set(br, 100, 1); }, vlan_100, "1"},
    {13, "bridge_vlan_set_all", {text(br), u32(0)},
     [] { return pppoeia_bridge_vlan_set_all(br, 0); }, vlan_100, "0"},
    {15, "bridge_vendor_set", {text(br), text("ACME")},
     [] { return pppoeia_bridge_vendor_set(br, "ACME"); },
     text_of_bridge<pppoeia_bridge_vendor_get>, "ACME"},
    {19, "bridge_vsa_mode_set", {text(br), u32(0)},
     [] { return pppoeia_bridge_vsa_mode_set(br, 0); }, of_bridge<pppoeia_bridge_vsa_mode_get>,
     "0"},
    {21, "bridge_vsa_insert_circuit_id_set", {text(br), u32(0)},
     [] { return pppoeia_bridge_vsa_insert_circuit_id_set(br, 0); },
     of_bridge<pppoeia_bridge_vsa_insert_circuit_id_get>, "0"},
    {23, "bridge_vsa_insert_remote_id_set", {text(br), u32(0)},
     [] { return pppoeia_bridge_vsa_insert_remote_id_set(br, 0); },
     of_bridge<pppoeia_bridge_vsa_insert_remote_id_get>, "0"},
    {42, "bridge_vsa_circuit_id_cvlan_set", {text(br), u32(1)},
     [] { return pppoeia_bridge_vsa_circuit_id_cvlan_set(br, 1); },
     of_bridge<pppoeia_bridge_vsa_circuit_id_cvlan_get>, "1"},
    {25, "bridge_shelf_id_set", {text(br), text("s 7")},
     [] { return pppoeia_bridge_shelf_id_set(br, "s 7"); },
     text_of_bridge<pppoeia_bridge_shelf_id_get>, "s 7"},
    {83, "bridge_chassis_id_set", {text(br), u32(0x01020304)},
     [] { return pppoeia_bridge_chassis_id_set(br, 0x01020304); },
     of_bridge<pppoeia_bridge_chassis_id_get>, "16909060"},
    {52, "circuit_id_format_set", {text(br), text("$PORT")},
     [] { return pppoeia_circuit_id_format_set(br, "$PORT"); },
     text_of_bridge<pppoeia_circuit_id_format_get>, "$PORT"},
    {54, "remote_id_format_set", {text(br), text("")},
     [] { return pppoeia_remote_id_format_set(br, ""); },
     text_of_bridge<pppoeia_remote_id_format_get>, ""},
    {75, "bridge_contact_set", {text(br), text("noc")},
     [] { return pppoeia_bridge_contact_set(br, "noc"); },
     text_of_bridge<fe_pppoeia_bridge_contact_get>, "noc", ""},
    {76, "bridge_location_set", {text(br), text("attic")},
     [] { return pppoeia_bridge_location_set(br, "attic"); },
     text_of_bridge<fe_pppoeia_bridge_location_get>, "attic", ""},
    {77, "bridge_sysname_set", {text(br), text("olt1")},
     [] { return pppoeia_bridge_sysname_set(br, "olt1"); },
     text_of_bridge<fe_pppoeia_bridge_sysname_get>, "olt1", ""},
    {28, "bridge_stats_reset", {text(br)}, [] { return pppoeia_bridge_stats_reset(br); }, nothing,
     ""},
    {27, "bridge_stats_get", {text(br), output(36)}, stats_of_bridge, nothing, ""},
    // ports
    {29, "port_add", {text(br), u32(1), text("dev1"), text("1/1/1"), block(48, info_bytes)},
     [] { return pppoeia_port_add(br, 1, "dev1", "1/1/1", &info); }, ports,
     "1 dev1 1/1/1 atm 16909060 9;"},
    {50, "port_name_update", {text(br), u32(1), text("2/2"), block(28, plugged_bytes)},
     [] { return pppoeia_port_name_update(br, 1, "2/2", &plugged); }, location,
     "2/2 B 258 1 168496141 287454020 1432778632"},
    {31, "port_state_set", {text(br), u32(1), u32(3)},
     [] { return pppoeia_port_state_set(br, 1, 3); }, of_port<pppoeia_port_state_get>, "3"},
    {32, "port_state_set_all", {text(br), u32(2)},
     [] { return pppoeia_port_state_set_all(br, 2); }, of_port<pppoeia_port_state_get>, "2"},
    {34, "port_trust_set", {text(br), u32(1), u32(1)},
     [] { return pppoeia_port_trust_set(br, 1, 1); }, of_port<pppoeia_port_trust_get>, "1"},
    {35, "port_trust_set_all", {text(br), u32(0)},
     [] { return pppoeia_port_trust_set_all(br, 0); }, of_port<pppoeia_port_trust_get>, "0"},
    {37, "port_remote_id_set", {text(br), u32(1), text("r1")},
     [] { return pppoeia_port_remote_id_set(br, 1, "r1"); },
     text_of_port<pppoeia_port_remote_id_get>, "r1"},
    {45, "port_vsa_circuit_id_mode_set", {text(br), u32(1), u32(1)},
     [] { return pppoeia_port_vsa_circuit_id_mode_set(br, 1, 1); },
     of_port<pppoeia_port_vsa_circuit_id_mode_get>, "1"},
    {47, "port_pvc_set", {text(br), u32(1), u32(8), u32(35)},
     [] { return pppoeia_port_pvc_set(br, 1, 8, 35); }, pvc, "8.35"},
    {51, "port_parent_set", {text(br), u32(1), u32(77)},
     [] { return pppoeia_port_parent_set(br, 1, 77); }, of_port<pppoeia_port_parent_get>, "77"},
    {78, "bridge_intf_descr_set", {text(br), u32(1), text("line")},
     [] { return pppoeia_bridge_intf_descr_set(br, 1, "line"); },
     text_of_port<fe_pppoeia_bridge_intf_descr_get>, "line", ""},
    {85, "bridge_cpe_serial_set", {text(br), u32(1), text("SN12")},
     [] { return pppoeia_bridge_cpe_serial_set(br, 1, "SN12"); }, cpe_serial, "SN12", ""},
    {86, "bridge_cpe_mac_set", {text(br), u32(1), block(6, "0200000000ab")},
     [] { return pppoeia_bridge_cpe_mac_set(br, 1, {{2, 0, 0, 0, 0, 0xAB}}); }, cpe_mac,
     "0200000000ab", "000000000000"},
    {40, "port_stats_reset", {text(br), u32(1)}, [] { return pppoeia_port_stats_reset(br, 1); },
     nothing, ""},
    {39, "port_stats_get", {text(br), u32(1), output(36)}, stats_of_port, nothing, ""},
    {68, "gen_circuit_id_by_intf_vlan", {text(br), u32(1), u16(0xFFF), output(0)}, circuit_id,
     nothing, ""},
    {69, "gen_remote_id_by_intf_vlan", {text(br), u32(1), u16(0xFFF), output(0)}, remote_id,
     nothing, ""},
    // port-VLAN entries, named VLANs
    {62, "port_vlan_add", {text(br), u32(1), u16(200)},
     [] { return pppoeia_port_vlan_add(br, 1, 200); }, entries, "200 "},
    {56, "circuit_id_mode_port_vlan_set", {text(br), u32(1), u16(100), u32(2)},
     [] { return pppoeia_circuit_id_mode_port_vlan_set(br, 1, 100, 2); }, entry_mode, "2"},
    {58, "circuit_id_format_port_vlan_set", {text(br), u32(1), u16(100), text("c$VLAN")},
     [] { return pppoeia_circuit_id_format_port_vlan_set(br, 1, 100, "c$VLAN"); },
     text_of_entry<pppoeia_circuit_id_format_port_vlan_get>, "c$VLAN"},
    {60, "remote_id_format_port_vlan_set", {text(br), u32(1), u16(100), text("r$VLAN")},
     [] { return pppoeia_remote_id_format_port_vlan_set(br, 1, 100, "r$VLAN"); },
     text_of_entry<pppoeia_remote_id_format_port_vlan_get>, "r$VLAN"},
    {63, "port_vlan_del", {text(br), u32(1), u16(100)},
     [] { return pppoeia_port_vlan_del(br, 1, 100); }, entries, "200 "},
    {67, "clear_port_vlan", {text(br), u32(1)}, [] { return clear_port_vlan(br, 1); }, entries,
     ""},
    {88, "clear_port_vlan_all", {text(br)}, [] { return clear_port_vlan_all(br); }, entries, ""},
    {79, "vlan_add", {text(br), u16(0x0102)}, [] { return pppoeia_vlan_add(br, 0x0102); },
     named_vlans, "258'' "},
    {81, "vlan_name_set", {text(br), u16(0x0102), text("iptv")},
     [] { return pppoeia_vlan_name_set(br, 0x0102, "iptv"); }, named_vlans, "258'iptv' ",
     "258'' "},
    {80, "vlan_del", {text(br), u16(0x0102)}, [] { return pppoeia_vlan_del(br, 0x0102); },
     named_vlans, ""},
    {82, "clear_vlan", {text(br)}, [] { return clear_vlan(br); }, named_vlans, ""},
    // diagnostics
    {70, "dump", {text(br), u32(1), text("/dev/null")},
     [] { return pppoeia_dump(br, 1, "/dev/null"); }, nothing, ""},
    {71, "test_dump", {text(br), text("/dev/null")},
     [] { return pppoeia_test_dump(br, "/dev/null"); }, nothing, ""},
    {72, "test_set", {text(br), text("pppoeiaTestSetVlan"), text("5"), text("")},
     [] { return pppoeia_test_set(br, "pppoeiaTestSetVlan", "5", ""); }, trial_vlan, "5", "100"},
    {74, "test_run", {text(br), text("pppoeiaTestRunCid"), text("test"), text("")},
     [] { return pppoeia_test_run(br, "pppoeiaTestRunCid", "test", ""); }, nothing, ""},
    {73, "test_debug", {text(br), u32(1), text("")}, [] { return pppoeia_test_debug(br, 1, ""); },
     trial_debug, "on", "off"},
    // back
    {87, "apply_default_settings", {text(br)}, [] { return pppoeia_apply_default_settings(br); },
     text_of_bridge<pppoeia_remote_id_format_get>, "$PORT_REM_ID"},
    {30, "port_del", {text(br), u32(1)}, [] { return pppoeia_port_del(br, 1); }, ports, ""},
    {7, "bridge_del", {text(br)}, [] { return pppoeia_bridge_del(br); }, bridges, ""},
    {1, "fini", {}, [] { return pppoeia_fini(); }, bridges, "no list", ""},
};
// clang-format on

}  // namespace

std::span<const OperationRow> operation_rows() {
    return rows;
}

}  // namespace ia::test
