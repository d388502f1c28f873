// What became of a port's frames: what the node counts and what the engine does.
#include "platform/frame_hold.h"

#include "fe/base/trace.h"
#include "pppoeia/node.h"
#include "store/operation.h"

#include <algorithm>

namespace ia {

static_assert(OUTCOME_COUNT <= frame_outcomes_max);
static_assert(SENT_CODES == std::size(PortFramesBlock{}.sent));

int fe_port_frames(const char *bridge, std::uint32_t port, PortFramesBlock *out) {
    trace_call(__func__, bridge, port);
    frame_counts counted{};
    if (const int result = platform::count_frames(bridge, port, counted); result != 0)
        return trace_result(__func__, result);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        *out = {};
        std::ranges::transform(counted.outcomes, p.outcomes, out->outcomes, std::plus{});
        std::ranges::copy(counted.sent, out->sent);
        return 0;
    });
}

int fe_clear_port_frames(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge, port);
    const int result = on_port(__func__, bridge, port, [](pppoeia_bridge &, pppoeia_port &p) {
        p.outcomes = {};
        return 0;
    });
    return result != 0 ? result : platform::clear_frame_counts(bridge, port);
}

}  // namespace ia
