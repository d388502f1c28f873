#include "programs/ctl/arguments.h"

#include "programs/ctl/commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace ia::ctl {

namespace {

void add_show(CLI::App &app) {
    CLI::App *show = app.add_subcommand("show", "Settings, ports and VLANs");
    show->require_subcommand(0, 1);
    show->callback([show] {
        if (!show->get_subcommands().empty()) return;
        Remote agent;
        show_settings(agent);
    });
    show->add_subcommand("ports", "All ports")->callback([] {
        Remote agent;
        show_ports(agent);
    });
    show->add_subcommand("vlans", "All VLANs")->callback([] {
        Remote agent;
        show_vlans(agent);
    });
    static std::uint32_t number;
    CLI::App *port = show->add_subcommand("port", "One port");
    port->add_option("port", number, "Port number")->required();
    port->callback([] {
        Remote agent;
        show_port(agent, number);
    });
    CLI::App *vlan = show->add_subcommand("vlan", "One VLAN");
    vlan->add_option("vlan", number, "VLAN id")->required();
    vlan->callback([] {
        Remote agent;
        show_vlan(agent, number);
    });
}

void add_stats(CLI::App &app) {
    static std::uint32_t port;
    CLI::App *stats = app.add_subcommand("stats", "Discovery counters");
    CLI::Option *given = stats->add_option("port", port, "Port number; else the bridge's");
    stats->callback([given] {
        Remote agent;
        show_stats(agent, given->count() > 0 ? std::optional(port) : std::nullopt);
    });
}

void add_preview(CLI::App &app) {
    static std::uint32_t port;
    static std::uint16_t vlan;
    CLI::App *command = app.add_subcommand("preview", "Both IDs of a line, as they are now");
    command->add_option("port", port, "Port number")->required();
    command->add_option("vlan", vlan, "VLAN id; 4095 for none")->required();
    command->callback([] {
        Remote agent;
        preview(agent, port, vlan);
    });
}

void add_diag(CLI::App &app) {
    static std::string argument;
    static std::string key;
    CLI::App *diag = app.add_subcommand("diag", "Reports of the engine, on this terminal");
    diag->require_subcommand(1);
    CLI::App *dump = diag->add_subcommand("dump", "The bridge's formats, entries and VLANs");
    dump->add_option("port", argument, "Port number; all ports");
    dump->callback([] { diagnose("pppoeiaDump", argument); });
    CLI::App *test = diag->add_subcommand("test", "Try ID formats on made-up data");
    test->require_subcommand(1);
    test->add_subcommand("dump", "The made-up data")->callback([] {
        diagnose("pppoeiaTestDump", "");
    });
    CLI::App *set = test->add_subcommand("set", "Change the made-up data");
    set->add_option("key", key, "Vlan, Cvid, IntfId, ClntMac, CustomCidStr, ...")->required();
    set->add_option("value", argument, "New value")->required();
    set->callback([] { diagnose("pppoeiaTestSet" + key, argument); });
    CLI::App *run_test = test->add_subcommand("run", "Build an ID: Cid or Rid");
    run_test->add_option("which", key, "Cid or Rid")->required();
    run_test->add_option("mode", argument, "test or available")->required();
    run_test->callback([] { diagnose("pppoeiaTestRun" + key, argument); });
    CLI::App *debug = test->add_subcommand("debug", "Lines of the ID generation, on or off");
    debug->add_option("value", argument, "0 or 1")->required();
    debug->callback([] { diagnose("pppoeiaTestDebug", argument); });
}

}  // namespace

int run(int argc, char **argv) {
    CLI::App app("Shows and sets the PPPoE Intermediate Agent of this node", "pppoeiactl");
    app.require_subcommand(1);
    add_show(app);
    add_stats(app);
    add_preview(app);
    add_changes(app);
    add_diag(app);
    try {
        app.parse(argc, argv);
        return done;
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? done : usage;
    } catch (const Refused &error) {
        std::fprintf(stderr, "pppoeiactl: %s\n", error.what());
        return refused;
    } catch (const Unreachable &error) {
        std::fprintf(stderr, "pppoeiactl: %s\n", error.what());
        return unreachable;
    }
}

}  // namespace ia::ctl
