// The path of a bridge's frames to the engine: binds devices to ports, holds frames
// while the bridge or a port is being configured, checks that frames arrive, and
// counts them. Arguments and results are those of pppoeia/node.h.
#pragma once

#include "platform/frame_outcomes.h"

#include <cstdint>

namespace ia::platform {

// Holds (or releases) the Discovery frames of a port, or of the whole bridge for port
// 0. Bridge and port need not exist yet. Releasing port 0 releases every port. Returns
// 0 or a negative errno value.
int hold_frames(const char *bridge, std::uint32_t port);
int release_frames(const char *bridge, std::uint32_t port);

// Binds a device to a bridge's port, with the side that it faces (0 subscribers, 1 the
// network), or ends the binding. Returns 0 or a negative errno value.
int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side);
int unbind_port(const char *bridge, std::uint32_t port);

// Sets the Linux device and the properties of a bridge; an empty device ends the
// bridge. Returns 0 or a negative errno value.
int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu);

// Sets the board's position in the node, and the device from whose address the agent
// answers. Returns 0 or -EINVAL.
int describe_board(std::uint32_t position, const char *management_device);

// Checks that a bridge's frames reach the engine's pseudo device (a hold does not
// count). Returns 0, also while the node has no such bridge device; -ENODEV when the
// pseudo device is gone or was never attached; -EMSGSIZE when the node's frames have
// become larger than it takes. After -ENODEV or -EMSGSIZE the bridge must be created
// again.
// -ENOPROTOOPT and -EOPNOTSUPP mean that frames arrive, but that netfilter does not hold a
// device that joins the bridge until it has its filter: its rules were taken away, or the
// kernel has no netfilter for bridges.
int check_bridge(const char *bridge);

// Reads the node's counts of a port's frames by outcome since the port was bound, or
// clears these counts. Returns 0, also for a port that is not bound, or a negative
// errno value.
int count_frames(const char *bridge, std::uint32_t port, frame_counts &counts);
int clear_frame_counts(const char *bridge, std::uint32_t port);

}  // namespace ia::platform
