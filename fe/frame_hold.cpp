// The engine's side of holding frames back: the node does it.
#include "platform/frame_hold.h"

#include "fe/base/trace.h"
#include "pppoeia/node.h"
#include "store/operation.h"

namespace ia {

int fe_hold_frames(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge);
    return trace_result(__func__, platform::hold_frames(bridge, port));
}

int fe_release_frames(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge);
    return trace_result(__func__, platform::release_frames(bridge, port));
}

int fe_check_bridge(const char *bridge) {
    trace_call(__func__, bridge);
    return trace_result(__func__, platform::check_bridge(bridge));
}

}  // namespace ia
