// The engine's side of what the node does: it holds frames back, knows the
// bridges and their ports, and sees whether frames arrive.
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

int fe_bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side) {
    trace_call(__func__, bridge);
    return trace_result(__func__, platform::bind_port(bridge, port, device, side));
}

int fe_unbind_port(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge);
    return trace_result(__func__, platform::unbind_port(bridge, port));
}

int fe_describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                       std::uint32_t max_pdu) {
    trace_call(__func__, bridge);
    return trace_result(__func__,
                        platform::describe_bridge(bridge, device, stag_ethertype, max_pdu));
}

int fe_describe_board(std::uint32_t position, const char *management_device) {
    trace_call(__func__, management_device);
    return trace_result(__func__, platform::describe_board(position, management_device));
}

}  // namespace ia
