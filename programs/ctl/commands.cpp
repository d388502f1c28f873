// The command table.
#include "programs/ctl/answers.h"
#include "programs/ctl/command.h"

#include <tuple>
#include <utility>

namespace ia::ctl {

namespace {

// An argument as a procedure takes it; a text that the command has none for is
// empty.
template <class Value>
Value value_at(Call &call, std::size_t index, std::string &text) {
    const Argument &argument = call.at(index);
    if constexpr (std::is_same_v<Value, char *>) {
        text = argument.name ? call.text(argument.name) : "";
        return text.data();
    } else {
        return static_cast<Value>(call.number(argument));
    }
}

std::string subject_of(Call &call) {
    if (call.has("port"))
        return "port " + call.text("port") +
               (call.has("vlan") ? ", VLAN " + call.text("vlan") : "");
    return call.has("vlan") ? "VLAN " + call.text("vlan") : "the setting";
}

template <auto Function, class Reply, class... Parameters, std::size_t... Index>
void change_with(Call &call, Reply *(*)(Parameters...), std::index_sequence<Index...>) {
    using Types = std::tuple<Parameters...>;
    std::array<std::string, sizeof...(Index) + 1> texts;
    call.agent().change(subject_of(call), Function,
                        value_at<std::tuple_element_t<Index, Types>>(call, Index, texts[Index])...);
}

template <class Reply, class... Parameters>
constexpr std::size_t values_of(Reply *(*)(Parameters...)) {
    return sizeof...(Parameters) - 1;  // the last is the connection
}

// A command whose arguments are those of a procedure that changes something.
template <auto Function>
Json change(Call &call) {
    change_with<Function>(call, Function, std::make_index_sequence<values_of(Function)>());
    return {{"done", true}};
}

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
constexpr Argument vlan(bool needed = required) {
    return {"vlan", "VLAN id; 0 untagged", Kind::vlan, needed, true, {}, 0, 4095};
}
constexpr Argument word(Words words) {
    return {"value", "New value", Kind::word, required, true, words};
}
constexpr Argument text(const char *name, const char *help) {
    return {name, help, Kind::text, required, true};
}
constexpr Argument option(const char *name, const char *help, Kind kind, int low = 0,
                          int high = 0) {
    return {name, help, kind, !required, false, {}, low, high};
}
constexpr Argument format = text("format", "Format, quoted for the shell");
constexpr Argument mac = option("mac", "Address of the client", Kind::mac);
constexpr Argument cvid = option("cvid", "Customer VLAN", Kind::vlan, 0, 4095);
constexpr Argument count = option("count", "End after so many", Kind::number, 1, 1000000000);
constexpr Word which_id[] = {{"Cid", 0}, {"Rid", 1}};
constexpr Word test_modes[] = {{"test", 0}, {"available", 1}};
constexpr Word shells[] = {{"bash", 0}, {"zsh", 1}};

constexpr Group group_rows[] = {
    {"show", "Settings, ports and VLANs"},
    {"set", "Change a setting"},
    {"unset", "Clear a setting"},
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
    {"show ports", "All ports", {}, show_ports, print_ports},
    {"show port", "One port and its VLANs", {{port()}}, show_port, print_port},
    {"show vlans", "All VLANs", {}, show_vlans, print_vlans},
    {"show vlan", "One VLAN", {{vlan()}}, show_vlan, print_vlans},
    {"status", "Version, and how the node's processes are", {}, show_status, print_status},
    {"stats", "Discovery counters of the bridge, or of ports",
        {{port(!required), option("all", "The bridge and all ports", Kind::flag),
          option("watch", "Go on, with rates, until q or Ctrl-C", Kind::flag), count}},
        show_stats, print_stats},
    {"reset", "Set counters to zero", {{port(!required)}}, reset, print_nothing},
    {"preview", "Both IDs of a line now, and what made them",
        {{port(), vlan(!required)}}, preview, print_preview},
    {"format check", "Explain a format, and try it with a line's values",
        {{format, option("port", "Port, by number or name", Kind::port),
          option("vlan", "VLAN id", Kind::vlan, 0, 4095), cvid, mac}}, check_format, print_format},
    {"format macros", "The macros and their options", {}, show_macros, print_macros},
    {"trace", "Discovery frames as they come and as they leave",
        {{option("port", "Only of this port", Kind::port), count,
          option("pcap", "Also write them to a capture file", Kind::file)}}, trace, print_nothing},
    {"metrics", "All counters as Prometheus text",
        {{option("file", "Write it to this file, in one piece", Kind::file)}}, show_metrics, print_metrics},

    {"set state", "Whether the agent works", {{word(on_off)}}, change<rpc_pppoeia_set_state_1>, print_nothing},
    {"set vsa-mode", "Tags that come from servers", {{word(tag_modes)}}, change<rpc_pppoeia_set_vsa_mode_1>, print_nothing},
    {"set insert-circuit-id", "Circuit ID in tags", {{word(on_off)}}, change<rpc_pppoeia_set_vsa_circuitid_state_1>, print_nothing},
    {"set insert-remote-id", "Remote ID in tags", {{word(on_off)}}, change<rpc_pppoeia_set_vsa_remoteid_state_1>, print_nothing},
    {"set cvlan", "Customer VLAN in default Circuit IDs", {{word(on_off)}}, change<rpc_pppoeia_set_circuit_id_cvlan_1>, print_nothing},
    {"set shelf", "Shelf identifier", {{text("shelf", "New text")}}, change<rpc_pppoeia_set_circuitid_1>, print_nothing},
    {"set cid-format", "Circuit-ID format of the bridge", {{format}}, change<rpc_pppoeia_cid_format_set_1>, print_nothing},
    {"set rid-format", "Remote-ID format of the bridge", {{format}}, change<rpc_pppoeia_rid_format_set_1>, print_nothing},
    {"set debug", "Trace of calls and frames", {{word(on_off)}}, change<rpc_pppoeia_set_debug_1>, print_nothing},
    {"set log-level", "Trace level, -1 for silence",
        {{Argument{"level", "-1 to 7", Kind::number, required, true, {}, -1, 7}}}, change<rpc_pppoeia_set_log_level_1>, print_nothing},
    {"set vlan", "Whether the agent serves a VLAN", {{vlan(), word(on_off)}}, change<rpc_pppoeia_set_vlan_state_1>, print_nothing},
    {"set role", "What a port may send", {{port(), word(roles)}}, change<rpc_pppoeia_set_interface_state_1>, print_nothing},
    {"set trust", "Whether a port may send tags", {{port(), word(trusts)}}, change<rpc_pppoeia_set_interface_mode_1>, print_nothing},
    {"set remote-id", "Remote ID of a port", {{port(), text("remote-id", "New text")}}, change<rpc_pppoeia_set_remoteid_1>, print_nothing},
    {"set cid-mode", "Circuit-ID mode of a port", {{port(), word(id_modes)}}, change<rpc_pppoeia_set_interface_circuit_id_mode_1>, print_nothing},
    {"set vlan-cid-mode", "Circuit-ID mode of a port and VLAN", {{port(), vlan(), word(id_modes)}}, change<rpc_pppoeia_set_intf_vlan_circuit_id_mode_1>, print_nothing},
    {"set vlan-cid-format", "Circuit-ID format of a port and VLAN", {{port(), vlan(), format}}, change<rpc_node_set_line_cid_format_1>, print_nothing},
    {"set vlan-rid-format", "Remote-ID format of a port and VLAN", {{port(), vlan(), format}}, change<rpc_node_set_line_rid_format_1>, print_nothing},

    {"unset shelf", "Shelf identifier", {}, change<rpc_pppoeia_unset_circuitid_1>, print_nothing},
    {"unset cid-format", "Circuit-ID format of the bridge", {}, change<rpc_pppoeia_cid_format_set_1>, print_nothing},
    {"unset rid-format", "Remote-ID format of the bridge", {}, change<rpc_pppoeia_rid_format_set_1>, print_nothing},
    {"unset remote-id", "Remote ID of a port", {{port()}}, change<rpc_pppoeia_unset_remoteid_1>, print_nothing},
    {"unset vlan-cid-format", "Circuit-ID format of a port and VLAN", {{port(), vlan()}}, change<rpc_node_set_line_cid_format_1>, print_nothing},
    {"unset vlan-rid-format", "Remote-ID format of a port and VLAN", {{port(), vlan()}}, change<rpc_node_set_line_rid_format_1>, print_nothing},

    {"unset line", "All that is set for a port and VLAN", {{port(), vlan()}}, change<rpc_node_clear_line_1>, print_nothing},

    {"config show", "All settings in force, as TOML", {}, config_show, print_text},
    {"config diff", "What is in force and not saved, and the other way round", {}, config_diff, print_text},
    {"config save", "Write the settings to their file", {}, config_save, print_nothing},
    {"config clear", "Take every setting back to the node description's", {}, config_clear, print_nothing},

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
