// Where the management process receives diagnostic commands.
#pragma once

namespace ia {

inline constexpr char message_socket[] = "/run/pppoeia_mgmt";

}  // namespace ia
