// A bridge's frames on their way to the engine: which devices they come from,
// holding them back while the bridge or a port is being configured, whether they
// arrive, and what became of them. Arguments and results are those of pppoeia/node.h.
#pragma once

#include "platform/frame_outcomes.h"

#include <cstdint>

namespace ia::platform {

// Holds (or releases) the Discovery frames of a bridge's port, of the whole
// bridge for port 0. Both may be named before they are there. Releasing port 0
// releases every port. Returns 0 or a negative errno value.
int hold_frames(const char *bridge, std::uint32_t port);
int release_frames(const char *bridge, std::uint32_t port);

// Which device is a bridge's port and which side it faces (0 subscribers, 1 the
// network), and that it no longer is. Returns 0 or a negative errno value.
int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side);
int unbind_port(const char *bridge, std::uint32_t port);

// The Linux device and properties of a bridge; without a device, its end.
// Returns 0 or a negative errno value.
int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu);

// The board's position in the node, and the device whose address the agent answers
// from. Returns 0 or -EINVAL.
int describe_board(std::uint32_t position, const char *management_device);

// Whether a bridge's frames come to the engine's pseudo device, or would but for
// a hold. Returns 0, also while the node has no such bridge device; -ENODEV when
// the pseudo device has gone or was never attached, -EMSGSIZE when the node's
// frames have become larger than it takes: the bridge is then to be made anew. They
// come, but what joins the bridge is not held back by netfilter before it has a filter:
// -ENOPROTOOPT when its rules have been taken away, -EOPNOTSUPP when the kernel has none.
int check_bridge(const char *bridge);

// What became of the frames of a bridge's port since it was bound, as far as the
// node counts it, and setting that to zero. Returns 0, also for a port that is not
// bound, or a negative errno value.
int count_frames(const char *bridge, std::uint32_t port, frame_counts &counts);
int clear_frame_counts(const char *bridge, std::uint32_t port);

}  // namespace ia::platform
