// The node's own operations.
#include "pppoeia/node.h"
#include "client/request.h"

namespace ia {

int hold_frames(const char *bridge, std::uint32_t port) {
    return call<hold_frames>(bridge, port);
}

int release_frames(const char *bridge, std::uint32_t port) {
    return call<release_frames>(bridge, port);
}

int check_bridge(const char *bridge) {
    return call<check_bridge>(bridge);
}

int macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                std::uint16_t cvid, const pppoeia_mac *client, macro_value_block *out) {
    return call<macro_value>(bridge, macro, port, vid, cvid, client, out);
}

int watch_frames(std::uint64_t *next) {
    return call<watch_frames>(next);
}

int watched_frame_get(std::uint64_t number, watched_frame *out) {
    return call<watched_frame_get>(number, out);
}

}  // namespace ia
