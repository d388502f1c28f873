// The node's present state, from which the platform's lookups answer. Only the
// framework changes it, one announced change at a time. Any thread may read it.
#pragma once

#include "node/description/description.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

namespace ia::node {

using VlanKey = std::pair<std::string, std::uint16_t>;  // bridge, VLAN id

// A description, ordered for lookups.
struct NodeState {
    Description facts;  // its lists are empty
    bool gpon = false;  // it has an OLT port; fixed while the framework runs
    std::vector<Bridge> bridges;
    std::map<std::uint32_t, Interface> interfaces;
    std::map<VlanKey, Vlan> vlans;

    NodeState() = default;
    explicit NodeState(const Description &description);

    const Bridge *bridge(const std::string &name) const;
    const Interface *interface(std::uint32_t id) const;
};

class Registry {
public:
    // Runs `use` on the state, which is locked meanwhile: `use` must not call the
    // registry.
    template <class Use>
    auto read(Use use) const {
        const std::shared_lock guard(mutex_);
        return use(static_cast<const NodeState &>(state_));
    }
    template <class Use>
    auto change(Use use) {
        const std::lock_guard guard(mutex_);
        return use(state_);
    }

private:
    mutable std::shared_mutex mutex_;
    NodeState state_;
};

// The registry behind the platform's singletons.
Registry &registry();

}  // namespace ia::node
