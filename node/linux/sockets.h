// Paths of the node's sockets and other files in /run.
#pragma once

#include <string>

namespace ia {

inline constexpr char engine_socket[] = "/var/run/pppoeia_fe_main";  // the client API
inline constexpr char message_socket[] = "/run/pppoeia_mgmt";        // diagnostic commands

inline constexpr char rpc_socket[] = "/run/pppoeia/mgmt.sock";  // the RPC programs, for pppoeiactl

inline constexpr char port_mapper_socket[] = "/run/rpcbind.sock";

// A copy of the operator's settings in force, read by the successor of a killed
// process.
inline constexpr char settings_copy_file[] = "/run/pppoeia_mgmt.settings";

// The path at which to create such a socket. Only root can create files in /run;
// for another user's process the path is a symbolic link into that user's folder,
// and the socket is created at its target.
std::string served_path(const char *path);

}  // namespace ia
