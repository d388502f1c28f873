// Bridge creation and deletion, and the state they share with module start-up.
//
// Creation, deletion, start-up and shutdown exclude each other; operations on
// bridges may run meanwhile.
#pragma once

#include "store/bridge_list.h"

#include <cstdint>
#include <mutex>

// Bytes that the frame record adds in front of a frame, as buffers are sized
// and traces count (the frame itself starts one byte later). 0 until the first
// bridge is made.
extern std::int32_t frame_adjust;

namespace ia {

inline constexpr std::int32_t frame_adjust_default = 106;

// Held by whoever makes or removes bridges.
extern std::mutex lifecycle;

// fe_pppoeia_bridge_del for who holds `lifecycle`: takes the bridge off the list,
// stops its worker and releases what it owns in the node.
int delete_bridge(const char *name);

}  // namespace ia
