// The commands that change something, one procedure each.
#include "programs/ctl/commands.h"
#include "programs/ctl/words.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace ia::ctl {

namespace {

// The values that a command line gives.
struct Given {
    std::uint32_t port = 0;
    std::uint32_t vlan = 0;
    int number = 0;
    std::string text;
};

using Change = void (*)(Remote &, Given &);

// A word of `set`: what it takes and what it does.
CLI::App *add(CLI::App &parent, const char *name, const char *help, Change change,
              const std::shared_ptr<Given> &given) {
    CLI::App *command = parent.add_subcommand(name, help);
    command->callback([change, given] {
        Remote agent;
        change(agent, *given);
    });
    return command;
}

void takes_port(CLI::App *command, Given &given) {
    command->add_option("port", given.port, "Port number")->required();
}

void takes_vlan(CLI::App *command, Given &given) {
    command->add_option("vlan", given.vlan, "VLAN id")->required()->check(CLI::Range(0, 4095));
}

void takes_word(CLI::App *command, Given &given, const Words &words) {
    command->add_option("value", given.number, "New value")
        ->required()
        ->transform(CLI::CheckedTransformer(words));
}

void takes_text(CLI::App *command, Given &given, const char *name) {
    command->add_option(name, given.text, "New text, quoted for the shell")->required();
}

char *text_of(Given &given) {
    return given.text.data();
}

void add_bridge_settings(CLI::App &set, const std::shared_ptr<Given> &g) {
    takes_word(
        add(
            set, "state", "Whether the agent works",
            [](Remote &a, Given &v) { a.change("the state", rpc_pppoeia_set_state_1, v.number); },
            g),
        *g, on_off);
    takes_word(add(
                   set, "vsa-mode", "Tags that come from servers",
                   [](Remote &a, Given &v) {
                       a.change("the tag mode", rpc_pppoeia_set_vsa_mode_1,
                                rpcPppoeiaVsaMode(v.number));
                   },
                   g),
               *g, tag_modes);
    takes_word(add(
                   set, "insert-circuit-id", "Circuit ID in tags",
                   [](Remote &a, Given &v) {
                       a.change("the Circuit ID", rpc_pppoeia_set_vsa_circuitid_state_1, v.number);
                   },
                   g),
               *g, on_off);
    takes_word(add(
                   set, "insert-remote-id", "Remote ID in tags",
                   [](Remote &a, Given &v) {
                       a.change("the Remote ID", rpc_pppoeia_set_vsa_remoteid_state_1, v.number);
                   },
                   g),
               *g, on_off);
    takes_word(add(
                   set, "cvlan", "Customer VLAN in default Circuit IDs",
                   [](Remote &a, Given &v) {
                       a.change("the customer VLAN", rpc_pppoeia_set_circuit_id_cvlan_1, v.number);
                   },
                   g),
               *g, on_off);
    takes_text(add(
                   set, "shelf", "Shelf identifier",
                   [](Remote &a, Given &v) {
                       a.change("the shelf", rpc_pppoeia_set_circuitid_1, text_of(v));
                   },
                   g),
               *g, "shelf");
    takes_text(add(
                   set, "cid-format", "Circuit-ID format of the bridge",
                   [](Remote &a, Given &v) {
                       a.change("the format", rpc_pppoeia_cid_format_set_1, text_of(v));
                   },
                   g),
               *g, "format");
    takes_text(add(
                   set, "rid-format", "Remote-ID format of the bridge",
                   [](Remote &a, Given &v) {
                       a.change("the format", rpc_pppoeia_rid_format_set_1, text_of(v));
                   },
                   g),
               *g, "format");
    takes_word(
        add(
            set, "debug", "Trace of calls and frames",
            [](Remote &a, Given &v) { a.change("debugging", rpc_pppoeia_set_debug_1, v.number); },
            g),
        *g, on_off);
    add(
        set, "log-level", "Trace level, -1 for silence",
        [](Remote &a, Given &v) {
            a.change("the log level", rpc_pppoeia_set_log_level_1,
                     rpcPppoeiaLoggingLevel(v.number));
        },
        g)
        ->add_option("level", g->number, "-1 to 7")
        ->required()
        ->check(CLI::Range(-1, 7));
    CLI::App *vlan = add(
        set, "vlan", "Whether the agent serves a VLAN",
        [](Remote &a, Given &v) {
            a.change("VLAN " + std::to_string(v.vlan), rpc_pppoeia_set_vlan_state_1, v.vlan,
                     v.number);
        },
        g);
    takes_vlan(vlan, *g);
    takes_word(vlan, *g, on_off);
}

std::string port_name(const Given &given) {
    return "port " + std::to_string(given.port);
}

void add_port_settings(CLI::App &set, const std::shared_ptr<Given> &g) {
    CLI::App *role = add(
        set, "role", "What a port may send",
        [](Remote &a, Given &v) {
            a.change(port_name(v), rpc_pppoeia_set_interface_state_1, v.port,
                     rpcPppoeiaInterfaceState(v.number));
        },
        g);
    takes_port(role, *g);
    takes_word(role, *g, roles);
    CLI::App *trust = add(
        set, "trust", "Whether a port may send tags",
        [](Remote &a, Given &v) {
            a.change(port_name(v), rpc_pppoeia_set_interface_mode_1, v.port,
                     rpcPppoeiaInterfaceMode(v.number));
        },
        g);
    takes_port(trust, *g);
    takes_word(trust, *g, trusts);
    CLI::App *remote_id = add(
        set, "remote-id", "Remote ID of a port",
        [](Remote &a, Given &v) {
            a.change(port_name(v), rpc_pppoeia_set_remoteid_1, v.port, text_of(v));
        },
        g);
    takes_port(remote_id, *g);
    takes_text(remote_id, *g, "remote-id");
    CLI::App *mode = add(
        set, "cid-mode", "Circuit-ID mode of a port",
        [](Remote &a, Given &v) {
            a.change(port_name(v), rpc_pppoeia_set_interface_circuit_id_mode_1, v.port,
                     rpcPppoeiaCircuitIdMode(v.number));
        },
        g);
    takes_port(mode, *g);
    takes_word(mode, *g, id_modes);
    CLI::App *vlan_mode = add(
        set, "vlan-cid-mode", "Circuit-ID mode of a port and VLAN",
        [](Remote &a, Given &v) {
            a.change(port_name(v), rpc_pppoeia_set_intf_vlan_circuit_id_mode_1, v.port,
                     static_cast<u_short>(v.vlan), rpcPppoeiaCircuitIdMode(v.number));
        },
        g);
    takes_port(vlan_mode, *g);
    takes_vlan(vlan_mode, *g);
    takes_word(vlan_mode, *g, id_modes);
}

}  // namespace

void add_changes(CLI::App &app) {
    const auto given = std::make_shared<Given>();
    CLI::App *set = app.add_subcommand("set", "Change a setting")->require_subcommand(1);
    add_bridge_settings(*set, given);
    add_port_settings(*set, given);

    CLI::App *unset = app.add_subcommand("unset", "Clear a setting")->require_subcommand(1);
    add(
        *unset, "shelf", "Shelf identifier",
        [](Remote &a, Given &) { a.change("the shelf", rpc_pppoeia_unset_circuitid_1); }, given);
    takes_port(add(
                   *unset, "remote-id", "Remote ID of a port",
                   [](Remote &a, Given &v) {
                       a.change(port_name(v), rpc_pppoeia_unset_remoteid_1, v.port);
                   },
                   given),
               *given);

    CLI::App *reset = app.add_subcommand("reset", "Set counters to zero");
    CLI::Option *port = reset->add_option("port", given->port, "Port number; all of the bridge's");
    reset->callback([given, port] {
        Remote agent;
        if (port->count() > 0)
            agent.change(port_name(*given), rpc_pppoeia_reset_interface_stat_1, given->port);
        else
            agent.change("the counters", rpc_pppoeia_reset_stat_1);
    });
}

}  // namespace ia::ctl
