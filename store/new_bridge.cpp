#include "store/new_bridge.h"

#include "fe/base/trace.h"

#include <cerrno>
#include <cstring>
#include <new>

namespace ia {

int check_new_bridge(const char *name) {
    if (!bridge_list_exists()) {
        pppoeia_log(2, "Not initialized.");
        return -ENXIO;
    }
    if (std::strlen(name) > PPPOEIA_BRIDGE_NAME_MAX) {
        pppoeia_log(2, "Max bridge name length can be %d.",
                    static_cast<int>(PPPOEIA_BRIDGE_NAME_MAX));
        return -EINVAL;
    }
    if (bridge_list_find(name)) {
        pppoeia_log(2, "<%s> Bridge already exists.", name);
        return -ENODEV;
    }
    return 0;
}

int allocate_bridge(const char *name, std::uint32_t ports, BridgePtr &out) {
    try {
        if (ports > max_ports) throw std::bad_alloc();
        out = std::make_shared<pppoeia_bridge>(name, ports);
        return 0;
    } catch (const std::bad_alloc &) {
        const std::size_t size = sizeof(pppoeia_bridge) + ports * sizeof(pppoeia_port);
        pppoeia_log(2, "<%s> Cannot allocate memory (%d bytes).", name, static_cast<int>(size));
        return -ENOMEM;
    }
}

}  // namespace ia
