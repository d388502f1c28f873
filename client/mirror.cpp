#include "client/mirror.h"

#include "store/bridge_list.h"

#include <algorithm>
#include <cerrno>

namespace ia {

int mirror_maximum_set(const char *bridge, std::uint32_t bytes) {
    constexpr std::uint32_t least = 1500;
    const LockedBridge found(bridge);
    if (!found) return -ENOENT;
    found->mtu = std::max({least, found->max_pdu, bytes});
    return 0;
}

}  // namespace ia
