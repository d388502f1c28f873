// A bridge's frames on their way to the engine: holding them back while the
// bridge or a port is being configured, and whether they arrive.
#pragma once

#include <cstdint>

namespace ia::platform {

// Holds (or releases) the Discovery frames of a bridge's port, of the whole
// bridge for port 0. Both may be named before they are there. Releasing port 0
// releases every port. Returns 0 or a negative errno value.
int hold_frames(const char *bridge, std::uint32_t port);
int release_frames(const char *bridge, std::uint32_t port);

// Whether a bridge's frames come to the engine's pseudo device, or would but for
// a hold. Returns 0, also while the node has no such bridge device; -ENODEV when
// the pseudo device has gone or was never attached, -EMSGSIZE when the node's
// frames have become larger than it takes: the bridge is then to be made anew.
int check_bridge(const char *bridge);

}  // namespace ia::platform
