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

// Stops the worker and releases what the bridge owns in the node; it is off the
// list already. The caller holds `lifecycle`.
void shut_down(pppoeia_bridge &bridge);

}  // namespace ia
