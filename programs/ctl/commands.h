// The commands; each prints what it has to say and throws Refused or
// Unreachable.
#pragma once

#include "programs/ctl/remote.h"

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace ia::ctl {

void show_settings(Remote &agent);
void show_ports(Remote &agent);
void show_port(Remote &agent, std::uint32_t port);
void show_vlans(Remote &agent);
void show_vlan(Remote &agent, std::uint32_t vlan);
void show_stats(Remote &agent, std::optional<std::uint32_t> port);
void preview(Remote &agent, std::uint32_t port, std::uint16_t vlan);

// Adds the words of `set`, `unset` and `reset`.
void add_changes(CLI::App &app);

// Sends a diagnostic command to the management process; its report appears on
// this terminal.
void diagnose(const std::string &command, const std::string &argument);

}  // namespace ia::ctl
