// Plain bridges again.
#include "node/kernel/barrier.h"
#include "node/kernel/engine_lock.h"
#include "node/kernel/kernel.h"
#include "node/kernel/places.h"
#include "node/kernel/pseudo_device.h"

#include <cstring>
#include <stdexcept>

namespace ia::node {

// The rules come last: until then nothing passes but what is meant to.
std::vector<std::string> release_node() {
    const EngineLock nobody_else;
    std::vector<std::string> released;
    Links links;
    links.replace(list_links());
    Places places;
    for (const int device : places.devices()) {
        const Link *link = links.find(device);
        if (!link) continue;
        const bool pseudo = link->is_tap() && places.attached_by_anyone(Hook::pseudo_out, device);
        if (!places.detach(device, true)) continue;
        if (!pseudo) {
            released.push_back(link->name + ": filter removed");
            continue;
        }
        if (const int error = delete_pseudo_device(link->name); error != 0 && error != ENODEV)
            throw std::runtime_error(link->name +
                                     ": pseudo device not deleted: " + std::strerror(error));
        released.push_back(link->name + ": pseudo device deleted");
    }
    try {
        if (Barrier().remove()) released.push_back("netfilter rules removed");
    } catch (const std::system_error &error) {
        if (error.code().value() != EPROTONOSUPPORT) throw;
    }
    return released;
}

}  // namespace ia::node
