// Operations that a node of ours has beyond the client API. They travel the
// same way, with ids from 1000 up (client/node_operations.h). The first of each
// pair is the client's function, with the results of pppoeia/client.h; the
// second, whose name begins with fe_, runs in the engine's process.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace ia {

// Holds the Discovery frames of a bridge's port, which is to say drops them, or
// those of the whole bridge for port 0, also while there is no such port or
// bridge yet: until release_frames(), nothing passes unmarked. Releasing port 0
// releases every port. Returns 0, or -22 for an impossible name or port.
int hold_frames(const char *bridge, std::uint32_t port);
int fe_hold_frames(const char *bridge, std::uint32_t port);

int release_frames(const char *bridge, std::uint32_t port);
int fe_release_frames(const char *bridge, std::uint32_t port);

// Whether the engine gets the bridge's frames. 0 when it does, or has none to
// get because there is no such device; -19 when its pseudo device is gone, -90
// when the node's frames have outgrown it, -2 for no bridge of the node: -19 and
// -90 are healed by making the bridge anew.
int check_bridge(const char *bridge);
int fe_check_bridge(const char *bridge);

}  // namespace ia

#pragma GCC visibility pop
