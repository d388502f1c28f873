#include "store/bridge_list.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <utility>

namespace ia {
namespace {

struct BridgeRegistry {
    std::shared_mutex lock;
    std::optional<std::vector<BridgePtr>> bridges;  // oldest first; empty optional: not initialised
};

// Never destroyed: a worker may still look a bridge up while the process exits.
BridgeRegistry &the_list() {
    static BridgeRegistry &list = *new BridgeRegistry;
    return list;
}

// The newest bridge of that name. The list is locked and initialised.
auto newest_named(std::vector<BridgePtr> &bridges, const char *name) {
    return std::find_if(bridges.rbegin(), bridges.rend(), [name](const BridgePtr &bridge) {
        return std::strcmp(bridge->name, name) == 0;
    });
}

std::vector<BridgePtr> newest_first(const std::vector<BridgePtr> &bridges) {
    return {bridges.rbegin(), bridges.rend()};
}

}  // namespace

bool bridge_list_exists() {
    BridgeRegistry &list = the_list();
    const std::shared_lock guard(list.lock);
    return list.bridges.has_value();
}

bool bridge_list_create() {
    BridgeRegistry &list = the_list();
    const std::unique_lock guard(list.lock);
    list.bridges.emplace();  // an empty list needs no memory
    return true;
}

std::vector<BridgePtr> bridge_list_release() {
    BridgeRegistry &list = the_list();
    const std::unique_lock guard(list.lock);
    if (!list.bridges) return {};
    auto bridges = std::move(*list.bridges);
    list.bridges.reset();
    std::ranges::reverse(bridges);
    return bridges;
}

std::vector<BridgePtr> bridge_list_snapshot() {
    BridgeRegistry &list = the_list();
    const std::shared_lock guard(list.lock);
    return list.bridges ? newest_first(*list.bridges) : std::vector<BridgePtr>{};
}

BridgePtr bridge_list_find(const char *name) {
    BridgeRegistry &list = the_list();
    const std::shared_lock guard(list.lock);
    if (!list.bridges || !name) return nullptr;
    const auto found = newest_named(*list.bridges, name);
    return found == list.bridges->rend() ? nullptr : *found;
}

void bridge_list_link(BridgePtr bridge) {
    BridgeRegistry &list = the_list();
    const std::unique_lock guard(list.lock);
    if (list.bridges) list.bridges->push_back(std::move(bridge));
}

BridgePtr bridge_list_unlink(const char *name) {
    BridgeRegistry &list = the_list();
    const std::unique_lock guard(list.lock);
    if (!list.bridges || !name) return nullptr;
    const auto found = newest_named(*list.bridges, name);
    if (found == list.bridges->rend()) return nullptr;
    BridgePtr bridge = std::move(*found);
    list.bridges->erase(std::next(found).base());
    return bridge;
}

}  // namespace ia
