#include "tests/client/operation_rows.h"

#include "diag/test_data.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"

#include <tuple>
#include <type_traits>

namespace ia::test {

namespace {

// --- what can be looked at -------------------------------------------------------

// Where a getter's answer goes, and what the getter is asked for: by the types of its
// arguments the bridge, port 1 and VLAN 100.
struct Answer {
    char text[PPPOEIA_FORMAT_SIZE] = "";
    std::uint32_t number = 0;
    std::int32_t level = 0;
};

template <class Argument>
Argument argument(Answer &answer) {
    if constexpr (std::is_same_v<Argument, const char *>)
        return br;
    else if constexpr (std::is_same_v<Argument, char *>)
        return answer.text;
    else if constexpr (std::is_same_v<Argument, std::uint32_t *>)
        return &answer.number;
    else if constexpr (std::is_same_v<Argument, std::int32_t *>)
        return &answer.level;
    else
        return std::is_same_v<Argument, std::uint16_t> ? 100 : 1;
}

template <class... Arguments>
std::string ask(int (*get)(Arguments...)) {
    Answer answer;
    const int result = get(argument<Arguments>(answer)...);
    if (result != 0) return "refused " + std::to_string(result);
    if ((std::is_same_v<Arguments, char *> || ...)) return answer.text;
    if ((std::is_same_v<Arguments, std::int32_t *> || ...)) return std::to_string(answer.level);
    return std::to_string(answer.number);
}

template <auto Get>
std::string read() {
    return ask(Get);
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
std::string pvc() {
    const LockedBridge bridge(br);
    return std::to_string(bridge->ports[0].vpi) + "." + std::to_string(bridge->ports[0].vci);
}
std::string cpe_mac() {
    const LockedBridge bridge(br);
    return to_hex({bridge->ports[0].cpe_mac.bytes, bridge->ports[0].cpe_mac.bytes + 6});
}
std::string cpe_serial() {
    return LockedBridge(br)->ports[0].cpe_serial;
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

// --- the rows -----------------------------------------------------------------------

// A value as the parameter that carries it; where the engine writes, only its room goes.
template <class Value>
Bytes param(const Value &value) {
    if constexpr (std::is_same_v<Value, const char *>)
        return text(value);
    else if constexpr (std::is_same_v<Value, std::uint16_t>)
        return u16(value);
    else if constexpr (std::is_integral_v<Value>)
        return u32(static_cast<std::uint32_t>(value));
    else if constexpr (std::is_same_v<Value, pppoeia_mac>)
        return block(6, to_hex({value.bytes, value.bytes + 6}));
    else if constexpr (std::is_same_v<Value, const pppoeia_port_info *>)
        return block(48, info_bytes);
    else if constexpr (std::is_same_v<Value, const pppoeia_port_location *>)
        return block(28, plugged_bytes);
    else
        return output(std::is_same_v<Value, pppoeia_stats *> ? 36 : 0);
}

pppoeia_stats stats{};
char id[PPPOEIA_ID_SIZE];

template <class Function>
struct ValuesOf;
template <class... Arguments>
struct ValuesOf<int (*)(Arguments...)> {
    using Type = std::tuple<Arguments...>;
};
template <auto Client>
using Values = typename ValuesOf<decltype(Client)>::Type;

template <auto Client>
OperationRow row(std::uint8_t number, Values<Client> values, std::string (*look)(),
                 std::string in_engine, std::optional<std::string> in_store = {}) {
    const auto params = [](const auto &...value) { return std::vector<Bytes>{param(value)...}; };
    return {number, std::apply(params, values), [values] { return std::apply(Client, values); },
            look,   std::move(in_engine),       std::move(in_store)};
}

// clang-format off
const std::vector<OperationRow> rows = {
    // the process, the bridge
    row<pppoeia_init>(0, {}, bridges, ""),
    row<pppoeia_log_level_set>(2, {-2}, read<pppoeia_log_level_get>, "3"),
    row<pppoeia_debug_admin_state_set>(4, {7}, read<pppoeia_debug_admin_state_get>, "1"),
    row<ppppoeia_conf_event>(44, {5}, nothing, ""),
    row<pppoeia_bridge_add>(6, {br, 300}, bridges, "br0:300 "),
    row<pppoeia_bridge_debug_set>(17, {br, 0}, read<pppoeia_bridge_debug_get>, "0"),
    row<pppoeia_bridge_max_pdu_set>(8, {br, 1492}, read<pppoeia_bridge_max_pdu_get>, "1492"),
    row<pppoeia_bridge_state_set>(10, {br, 0}, read<pppoeia_bridge_state_get>, "0"),
    row<pppoeia_bridge_vlan_set>(12, {br, 100, 1}, read<pppoeia_bridge_vlan_get>, "1"),
    row<pppoeia_bridge_vlan_set_all>(13, {br, 0}, read<pppoeia_bridge_vlan_get>, "0"),
    row<pppoeia_bridge_vendor_set>(15, {br, "ACME"}, read<pppoeia_bridge_vendor_get>, "ACME"),
    row<pppoeia_bridge_vsa_mode_set>(19, {br, 0}, read<pppoeia_bridge_vsa_mode_get>, "0"),
    row<pppoeia_bridge_vsa_insert_circuit_id_set>(21, {br, 0},
        read<pppoeia_bridge_vsa_insert_circuit_id_get>, "0"),
    row<pppoeia_bridge_vsa_insert_remote_id_set>(23, {br, 0},
        read<pppoeia_bridge_vsa_insert_remote_id_get>, "0"),
    row<pppoeia_bridge_vsa_circuit_id_cvlan_set>(42, {br, 1},
        read<pppoeia_bridge_vsa_circuit_id_cvlan_get>, "1"),
    row<pppoeia_bridge_shelf_id_set>(25, {br, "s 7"}, read<pppoeia_bridge_shelf_id_get>, "s 7"),
    row<pppoeia_bridge_chassis_id_set>(83, {br, 0x01020304},
        read<pppoeia_bridge_chassis_id_get>, "16909060"),
    row<pppoeia_circuit_id_format_set>(52, {br, "$PORT"},
        read<pppoeia_circuit_id_format_get>, "$PORT"),
    row<pppoeia_remote_id_format_set>(54, {br, ""}, read<pppoeia_remote_id_format_get>, ""),
    row<pppoeia_bridge_contact_set>(75, {br, "noc"},
        read<fe_pppoeia_bridge_contact_get>, "noc", ""),
    row<pppoeia_bridge_location_set>(76, {br, "attic"},
        read<fe_pppoeia_bridge_location_get>, "attic", ""),
    row<pppoeia_bridge_sysname_set>(77, {br, "olt1"},
        read<fe_pppoeia_bridge_sysname_get>, "olt1", ""),
    row<pppoeia_bridge_stats_reset>(28, {br}, nothing, ""),
    row<pppoeia_bridge_stats_get>(27, {br, &stats}, nothing, ""),
    // ports
    row<pppoeia_port_add>(29, {br, 1, "dev1", "1/1/1", &info},
        ports, "1 dev1 1/1/1 atm 16909060 9;"),
    row<pppoeia_port_name_update>(50, {br, 1, "2/2", &plugged},
        location, "2/2 B 258 1 168496141 287454020 1432778632"),
    row<pppoeia_port_state_set>(31, {br, 1, 3}, read<pppoeia_port_state_get>, "3"),
    row<pppoeia_port_state_set_all>(32, {br, 2}, read<pppoeia_port_state_get>, "2"),
    row<pppoeia_port_trust_set>(34, {br, 1, 1}, read<pppoeia_port_trust_get>, "1"),
    row<pppoeia_port_trust_set_all>(35, {br, 0}, read<pppoeia_port_trust_get>, "0"),
    row<pppoeia_port_remote_id_set>(37, {br, 1, "r1"}, read<pppoeia_port_remote_id_get>, "r1"),
    row<pppoeia_port_vsa_circuit_id_mode_set>(45, {br, 1, 1},
        read<pppoeia_port_vsa_circuit_id_mode_get>, "1"),
    row<pppoeia_port_pvc_set>(47, {br, 1, 8, 35}, pvc, "8.35"),
    row<pppoeia_port_parent_set>(51, {br, 1, 77}, read<pppoeia_port_parent_get>, "77"),
    row<pppoeia_bridge_intf_descr_set>(78, {br, 1, "line"},
        read<fe_pppoeia_bridge_intf_descr_get>, "line", ""),
    row<pppoeia_bridge_cpe_serial_set>(85, {br, 1, "SN12"}, cpe_serial, "SN12", ""),
    row<pppoeia_bridge_cpe_mac_set>(86, {br, 1, pppoeia_mac{{2, 0, 0, 0, 0, 0xAB}}},
        cpe_mac, "0200000000ab", "000000000000"),
    row<pppoeia_port_stats_reset>(40, {br, 1}, nothing, ""),
    row<pppoeia_port_stats_get>(39, {br, 1, &stats}, nothing, ""),
    row<gen_circuit_id_by_intf_vlan>(68, {br, 1, 0xFFF, id}, nothing, ""),
    row<gen_remote_id_by_intf_vlan>(69, {br, 1, 0xFFF, id}, nothing, ""),
    // port-VLAN entries, named VLANs
    row<pppoeia_port_vlan_add>(62, {br, 1, 200}, entries, "200 "),
    row<pppoeia_circuit_id_mode_port_vlan_set>(56, {br, 1, 100, 2}, read<pppoeia_circuit_id_mode_port_vlan_get>, "2"),
    row<pppoeia_circuit_id_format_port_vlan_set>(58, {br, 1, 100, "c$VLAN"},
        read<pppoeia_circuit_id_format_port_vlan_get>, "c$VLAN"),
    row<pppoeia_remote_id_format_port_vlan_set>(60, {br, 1, 100, "r$VLAN"},
        read<pppoeia_remote_id_format_port_vlan_get>, "r$VLAN"),
    row<pppoeia_port_vlan_del>(63, {br, 1, 100}, entries, "200 "),
    row<clear_port_vlan>(67, {br, 1}, entries, ""),
    row<clear_port_vlan_all>(88, {br}, entries, ""),
    row<pppoeia_vlan_add>(79, {br, 0x0102}, named_vlans, "258'' "),
    row<pppoeia_vlan_name_set>(81, {br, 0x0102, "iptv"}, named_vlans, "258'iptv' ", "258'' "),
    row<pppoeia_vlan_del>(80, {br, 0x0102}, named_vlans, ""),
    row<clear_vlan>(82, {br}, named_vlans, ""),
    // diagnostics
    row<pppoeia_dump>(70, {br, 1, "/dev/null"}, nothing, ""),
    row<pppoeia_test_dump>(71, {br, "/dev/null"}, nothing, ""),
    row<pppoeia_test_set>(72, {br, "pppoeiaTestSetVlan", "5", ""}, trial_vlan, "5", "100"),
    row<pppoeia_test_run>(74, {br, "pppoeiaTestRunCid", "test", ""}, nothing, ""),
    row<pppoeia_test_debug>(73, {br, 1, ""}, trial_debug, "on", "off"),
    // back
    row<pppoeia_apply_default_settings>(87, {br},
        read<pppoeia_remote_id_format_get>, "$PORT_REM_ID"),
    row<pppoeia_port_del>(30, {br, 1}, ports, ""),
    row<pppoeia_bridge_del>(7, {br}, bridges, ""),
    row<pppoeia_fini>(1, {}, bridges, "no list", ""),
};
// clang-format on

}  // namespace

std::span<const OperationRow> operation_rows() {
    return rows;
}

}  // namespace ia::test
