// Lines as commands show them.
#pragma once

#include "ctl/command.h"

namespace ia::ctl {

Json address_json(u_quad_t address);     // null for none
Json moment_json(u_quad_t nanoseconds);  // seconds since 1970; null for never
std::string moment_text(const Json &seconds);

std::map<u_int, std::string> port_names(Call &call);
Json line_json(const rpcNodeLineRow &row, const std::map<u_int, std::string> &names);

}  // namespace ia::ctl
