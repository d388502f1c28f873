#include "store/new_bridge.h"

#include "fe/base/trace.h"

#include <cerrno>
#include <cstring>

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

int no_memory_for(const char *name, std::uint32_t ports) {
    const std::size_t size = sizeof(pppoeia_bridge) + ports * sizeof(pppoeia_port);
    pppoeia_log(2, "<%s> Cannot allocate memory (%zu bytes).", name, size);
    return -ENOMEM;
}

}  // namespace ia
