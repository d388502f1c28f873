// The local sockets of the node's processes.
#pragma once

namespace ia {

inline constexpr char engine_socket[] = "/var/run/pppoeia_fe_main";  // the client API
inline constexpr char message_socket[] = "/run/pppoeia_mgmt";        // diagnostic commands

}  // namespace ia
