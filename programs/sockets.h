// The local sockets of the node's processes, and what else they keep in /run.
#pragma once

namespace ia {

inline constexpr char engine_socket[] = "/var/run/pppoeia_fe_main";  // the client API
inline constexpr char message_socket[] = "/run/pppoeia_mgmt";        // diagnostic commands

inline constexpr char port_mapper_socket[] = "/run/rpcbind.sock";

// A copy of the operator's settings in force, for the process after a killed one.
inline constexpr char settings_copy_file[] = "/run/pppoeia_mgmt.settings";

}  // namespace ia
