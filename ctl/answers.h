// The functions that answer a command, and those that print an answer; see
// command.h. packaging/pppoeiactl.schema.json has the shapes of the answers.
#pragma once

#include "ctl/command.h"

namespace ia::ctl {

Json show_settings(Call &call);
void print_settings(const Json &answer);
Json show_bridge(Call &call);
void print_bridge(const Json &answer);
Json show_ports(Call &call);
void print_ports(const Json &answer);
Json show_port(Call &call);
void print_port(const Json &answer);
Json show_vlans(Call &call);
Json show_vlan(Call &call);
void print_vlans(const Json &answer);

Json show_lines(Call &call);
void print_lines(const Json &answer);
Json show_sessions(Call &call);
void print_sessions(const Json &answer);
Json show_servers(Call &call);
void print_servers(const Json &answer);

Json show_stats(Call &call);
void print_stats(const Json &answer);

Json reset(Call &call);
void print_changed(const Json &answer);

Json preview(Call &call);
void print_preview(const Json &answer);

Json check_format(Call &call);
void print_format(const Json &answer);
Json show_macros(Call &call);
void print_macros(const Json &answer);

Json trace(Call &call);
void print_nothing(const Json &answer);

Json show_status(Call &call);
void print_status(const Json &answer);
Status verdict_of_status(const Json &answer);
Json reload(Call &call);
void print_reload(const Json &answer);
Json show_metrics(Call &call);
void print_metrics(const Json &answer);

Json config_show(Call &call);
Json config_diff(Call &call);
Json config_save(Call &call);
Json config_clear(Call &call);

Json completion(Call &call);
void print_text(const Json &answer);

// Sends a diagnostic command to the management process; its report appears on
// this terminal.
Json diagnose(const std::string &command, const std::string &argument);

}  // namespace ia::ctl
