// Holding frames back while a bridge or a port is being configured.
#pragma once

#include <cstdint>

namespace ia::platform {

// Holds (or releases) the Discovery frames of a bridge's port, of the whole
// bridge for port 0. Both may be named before they are there. Releasing port 0
// releases every port. Returns 0 or a negative errno value.
int hold_frames(const char *bridge, std::uint32_t port);
int release_frames(const char *bridge, std::uint32_t port);

}  // namespace ia::platform
