// The command table.
#include "ctl/answers.h"
#include "ctl/change.h"
#include "ctl/settings.h"
#include "pppoeia/records.h"

namespace ia::ctl {

namespace {

template <const char *Name>
Json diag(Call &call) {
    return diagnose(Name + call.text("key"), call.text("value"));
}
constexpr char dump[] = "pppoeiaDump";
constexpr char test_dump[] = "pppoeiaTestDump";
constexpr char test_set[] = "pppoeiaTestSet";
constexpr char test_run[] = "pppoeiaTestRun";
constexpr char test_debug[] = "pppoeiaTestDebug";

constexpr bool required = true;

constexpr Argument port(bool needed = required) {
    return {"port", "Port, by number or name", Kind::port, needed, true};
}
constexpr Argument ports(bool needed = required) {
    return {"port", "Port, by number, name or pattern", Kind::ports, needed, true};
}
constexpr Argument vlan(bool needed = required) {
    return {"vlan", "VLAN id; 0 untagged", Kind::vlan, needed, true, {}, 0, 4095};
}
constexpr Argument word(const char *meta, Words words) {
    return {"value", "New value", Kind::word, required, true, words, 0, 0, meta};
}
// With its terminator it fills a field of `size` bytes.
constexpr Argument text(const char *name, const char *help, std::size_t size = 1) {
    return {name, help, Kind::text, required, true, {}, 0, static_cast<int>(size) - 1};
}
constexpr Argument option(const char *name, const char *help, Kind kind, int low = 0,
                          int high = 0) {
    return {name, help, kind, !required, false, {}, low, high};
}
constexpr Argument format = text("format", "Format, quoted for the shell", PPPOEIA_FORMAT_SIZE);
constexpr Argument line_format =
    text("format", "Format, quoted for the shell", PPPOEIA_FORMAT_SIZE - 1);
constexpr Argument any_format = text("format", "Format, quoted for the shell");
constexpr Argument mac = option("mac", "Address of the client", Kind::mac);
constexpr Argument cvid = option("cvid", "Customer VLAN", Kind::vlan, 0, 4095);
constexpr Argument count = option("count", "End after so many", Kind::number, 1, 1000000000);
constexpr Word which_id[] = {{"Cid", 0}, {"Rid", 1}};
constexpr Word test_modes[] = {{"test", 0}, {"available", 1}};
constexpr Word line_states[] = {
    {"asking", 0}, {"offered", 1}, {"online", 2}, {"refused", 3}, {"silent", 4}};
constexpr Word shells[] = {{"bash", 0}, {"zsh", 1}};

constexpr Group group_rows[] = {
    {"show", "Settings, ports and VLANs"},
    {"set", "Change a setting"},
    {"unset", "Take a setting back to the description's"},
    {"format", "Formats of custom IDs"},
    {"config", "Settings that survive"},
    {"diag", "Reports of the engine, on this terminal"},
    {"diag test", "Try ID formats on made-up data"},
};

// clang-format off
constexpr Command rows[] = {
    {"show", "All settings of the agent", {}, show_settings, print_settings},
    {"show settings", "All settings of the agent", {}, show_settings, print_settings},
    {"show bridge", "The bridge at a glance", {}, show_bridge, print_bridge},
    {"show ports", "Ports, with their IDs on a VLAN when one is given",
        {{ports(!required), option("vlan", "VLAN id; 0 untagged", Kind::vlan, 0, 4095)}}, show_ports, print_ports},
    {"show port", "One port and its VLANs", {{port()}}, show_port, print_port},
    {"show vlans", "All VLANs", {}, show_vlans, print_vlans},
    {"show vlan", "One VLAN", {{vlan()}}, show_vlan, print_vlans},
    {"show lines", "Lines that were heard, and how each is",
        {{option("port", "Only of this port", Kind::port),
          Argument{"state", "Only in this state", Kind::word, !required, false, line_states}}}, show_lines, print_lines},
    {"show sessions", "Open sessions, as far as Discovery tells",
        {{option("port", "Only of this port", Kind::port)}}, show_sessions, print_sessions},
    {"show servers", "Servers that have answered", {}, show_servers, print_servers},
    {"status", "Health of the node, what is wrong and what to do", {}, show_status, print_status, verdict_of_status},
    {"reload", "Read the node description again and apply it",
        {{option("dry-run", "Only say what would change or is wrong", Kind::flag)}}, reload, print_reload},
    {"stats", "Discovery counters; of one port also what became of its frames",
        {{port(!required), option("all", "The bridge and all ports", Kind::flag),
          option("watch", "Go on, with rates, until q or Ctrl-C", Kind::flag), count}},
        show_stats, print_stats},
    {"reset", "Set counters to zero", {{ports(!required)}}, reset, print_changed},
    {"preview", "Both IDs of a line now, and what made them",
        {{port(), vlan(!required), cvid, mac}}, preview, print_preview},
    {"format check", "Explain a format, and try it with a line's values",
        {{any_format, option("port", "Port, by number or name", Kind::port),
          option("vlan", "VLAN id", Kind::vlan, 0, 4095), cvid, mac}}, check_format, print_format},
    {"format macros", "The macros and their options", {}, show_macros, print_macros},
    {"trace", "Discovery frames as they come and as they leave",
        {{option("port", "Only from or to this port", Kind::port), count,
          option("pcap", "Also write them to a capture file", Kind::file)}}, trace, print_nothing},
    {"metrics", "All counters as Prometheus text",
        {{option("file", "Write it to this file, in one piece", Kind::file)}}, show_metrics, print_metrics},

    {"set state", "Whether the agent works", {{word("STATE", on_off)}}, change<rpc_pppoeia_set_state_1>, print_changed},
    {"set vsa-mode", "Tags that come from servers", {{word("WHAT", tag_modes)}}, change<rpc_pppoeia_set_vsa_mode_1>, print_changed},
    {"set insert-circuit-id", "Circuit ID in tags", {{word("STATE", on_off)}}, change<rpc_pppoeia_set_vsa_circuitid_state_1>, print_changed},
    {"set insert-remote-id", "Remote ID in tags", {{word("STATE", on_off)}}, change<rpc_pppoeia_set_vsa_remoteid_state_1>, print_changed},
    {"set cvlan", "Customer VLAN in default Circuit IDs", {{word("STATE", on_off)}}, change<rpc_pppoeia_set_circuit_id_cvlan_1>, print_changed},
    {"set shelf", "Shelf identifier", {{text("shelf", "New text", PPPOEIA_SHELF_ID_SIZE)}}, change<rpc_pppoeia_set_circuitid_1>, print_changed},
    {"set cid-format", "Circuit-ID format of the bridge", {{format}}, change<rpc_pppoeia_cid_format_set_1>, print_changed},
    {"set rid-format", "Remote-ID format of the bridge", {{format}}, change<rpc_pppoeia_rid_format_set_1>, print_changed},
    {"set debug", "Trace of calls and frames", {{word("STATE", on_off)}}, change<rpc_pppoeia_set_debug_1>, print_changed},
    {"set log-level", "Trace level, -1 for silence",
        {{Argument{"level", "-1 to 7", Kind::number, required, true, {}, -1, 7}}}, change<rpc_pppoeia_set_log_level_1>, print_changed},
    {"set vlan", "Whether the agent serves a VLAN", {{vlan(), word("STATE", on_off)}}, change<rpc_pppoeia_set_vlan_state_1>, print_changed},
    {"set role", "What a port may send", {{ports(), word("ROLE", roles)}}, change<rpc_pppoeia_set_interface_state_1>, print_changed},
    {"set trust", "Whether a port may send tags", {{ports(), word("TRUST", trusts)}}, change<rpc_pppoeia_set_interface_mode_1>, print_changed},
    {"set remote-id", "Remote ID of a port", {{ports(), text("remote-id", "New text", PPPOEIA_REMOTE_ID_SIZE)}}, change<rpc_pppoeia_set_remoteid_1>, print_changed},
    {"set cid-mode", "Circuit-ID mode of a port", {{ports(), word("MODE", id_modes)}}, change<rpc_pppoeia_set_interface_circuit_id_mode_1>, print_changed},
    {"set vlan-cid-mode", "Circuit-ID mode of a port and VLAN", {{ports(), vlan(), word("MODE", id_modes)}}, change<rpc_pppoeia_set_intf_vlan_circuit_id_mode_1>, print_changed},
    {"set vlan-cid-format", "Circuit-ID format of a port and VLAN", {{ports(), vlan(), line_format}}, change<rpc_node_set_line_cid_format_1>, print_changed},
    {"set vlan-rid-format", "Remote-ID format of a port and VLAN", {{ports(), vlan(), line_format}}, change<rpc_node_set_line_rid_format_1>, print_changed},

    {"unset state", "Whether the agent works, as described", {}, unset<rpc_pppoeia_set_state_1, &node::AgentSettings::enabled>, print_unset},
    {"unset vsa-mode", "Tags that come from servers, as described", {}, unset<rpc_pppoeia_set_vsa_mode_1, &node::AgentSettings::vsa_mode>, print_unset},
    {"unset insert-circuit-id", "Circuit ID in tags, as described", {}, unset<rpc_pppoeia_set_vsa_circuitid_state_1, &node::AgentSettings::insert_circuit_id>, print_unset},
    {"unset insert-remote-id", "Remote ID in tags, as described", {}, unset<rpc_pppoeia_set_vsa_remoteid_state_1, &node::AgentSettings::insert_remote_id>, print_unset},
    {"unset cvlan", "Customer VLAN in default Circuit IDs, as described", {}, unset<rpc_pppoeia_set_circuit_id_cvlan_1, &node::AgentSettings::circuit_id_cvlan>, print_unset},
    {"unset shelf", "Shelf identifier, as described", {}, unset<rpc_pppoeia_set_circuitid_1, &node::AgentSettings::shelf>, print_unset},
    {"unset cid-format", "Circuit-ID format of the bridge, as described", {}, unset<rpc_pppoeia_cid_format_set_1, &node::AgentSettings::circuit_id_format>, print_unset},
    {"unset rid-format", "Remote-ID format of the bridge, as described", {}, unset<rpc_pppoeia_rid_format_set_1, &node::AgentSettings::remote_id_format>, print_unset},
    {"unset log-level", "Trace level, -1 for silence, as described", {}, unset<rpc_pppoeia_set_log_level_1, &node::AgentSettings::log_level>, print_unset},
    {"unset vlan", "Whether the agent serves a VLAN, as described", {{vlan()}}, unset<rpc_pppoeia_set_vlan_state_1, &node::VlanSettings::enabled>, print_unset},
    {"unset role", "What a port may send, as described", {{ports()}}, unset<rpc_pppoeia_set_interface_state_1, &node::PortSettings::role>, print_unset},
    {"unset trust", "Whether a port may send tags, as described", {{ports()}}, unset<rpc_pppoeia_set_interface_mode_1, &node::PortSettings::trust>, print_unset},
    {"unset remote-id", "Remote ID of a port, as described", {{ports()}}, unset<rpc_pppoeia_set_remoteid_1, &node::PortSettings::remote_id>, print_unset},
    {"unset cid-mode", "Circuit-ID mode of a port, as described", {{ports()}}, unset<rpc_pppoeia_set_interface_circuit_id_mode_1, &node::PortSettings::circuit_id_mode>, print_unset},
    {"unset vlan-cid-mode", "Circuit-ID mode of a port and VLAN, as described", {{ports(), vlan()}}, unset<rpc_pppoeia_set_intf_vlan_circuit_id_mode_1, &node::LineSettings::circuit_id_mode>, print_unset},
    {"unset vlan-cid-format", "Circuit-ID format of a port and VLAN, as described", {{ports(), vlan()}}, unset<rpc_node_set_line_cid_format_1, &node::LineSettings::circuit_id_format>, print_unset},
    {"unset vlan-rid-format", "Remote-ID format of a port and VLAN, as described", {{ports(), vlan()}}, unset<rpc_node_set_line_rid_format_1, &node::LineSettings::remote_id_format>, print_unset},
    {"unset line", "All that is set for a port and VLAN, as described", {{ports(), vlan()}}, unset_line, print_unset},

    {"config show", "All settings in force, as TOML", {}, config_show, print_text},
    {"config diff", "What is in force and not saved, and the other way round", {}, config_diff, print_text},
    {"config save", "Write the settings to their file", {}, config_save, print_nothing},
    {"config clear", "Take every setting back to the node description's",
        {{option("yes", "Without a question", Kind::flag)}}, config_clear, print_nothing},

    {"diag dump", "The bridge's formats, entries and VLANs",
        {{Argument{"value", "Port number; all ports", Kind::text, !required, true}}}, diag<dump>, print_text},
    {"diag test dump", "The made-up data", {}, diag<test_dump>, print_text},
    {"diag test set", "Change the made-up data",
        {{text("key", "Vlan, Cvid, IntfId, ClntMac, CustomCidStr, ..."), text("value", "New value")}}, diag<test_set>, print_text},
    {"diag test run", "Build an ID of it",
        {{Argument{"key", "Cid or Rid", Kind::word, required, true, which_id},
          Argument{"value", "test or available", Kind::word, required, true, test_modes}}}, diag<test_run>, print_text},
    {"diag test debug", "Lines of the ID generation, on or off", {{text("value", "0 or 1")}}, diag<test_debug>, print_text},

    {"completion", "Completion script for a shell",
        {{Argument{"shell", "bash or zsh", Kind::word, required, true, shells}}}, completion, print_text},
};
// clang-format on

}  // namespace

std::span<const Command> commands() {
    return rows;
}

std::span<const Group> groups() {
    return group_rows;
}

}  // namespace ia::ctl
