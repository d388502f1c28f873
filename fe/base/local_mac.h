// The agent's own MAC address: that of the node's management interface.
#pragma once

#include <cstdint>

inline constexpr char management_interface[] = "mng0";

// Fills six bytes. Returns 0, or -1 with a notice (level 3).
int pppoeia_get_local_mac(std::uint8_t *mac);
