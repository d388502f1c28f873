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

}  // namespace ia
