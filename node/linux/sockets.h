// The local sockets of the node's processes, and what else they keep in /run.
#pragma once

#include <string>

namespace ia {

inline constexpr char engine_socket[] = "/var/run/pppoeia_fe_main";  // the client API
inline constexpr char message_socket[] = "/run/pppoeia_mgmt";        // diagnostic commands

inline constexpr char rpc_socket[] = "/run/pppoeia/mgmt.sock";  // the RPC programs, for pppoeiactl

inline constexpr char port_mapper_socket[] = "/run/rpcbind.sock";

// A copy of the operator's settings in force, for the process after a killed one.
inline constexpr char settings_copy_file[] = "/run/pppoeia_mgmt.settings";

// Where to serve such a path. Only root can make files in /run; for a process of
// another user the path is a symbolic link into a folder of that user, and the
// socket is made where the link leads.
std::string served_path(const char *path);

}  // namespace ia
