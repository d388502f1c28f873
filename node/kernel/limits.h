// What the description says of limits, as the filter reads it.
#pragma once

#include "node/description/description.h"
#include "node/kernel/filter_maps.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ia::node {

// So many frames a second, so many at once.
filter_rate rate_of(std::uint32_t rate, std::uint32_t burst);

// Those of a description, by name of bridge and port. What it does not name has the usual
// ones.
class Policies {
public:
    Policies() = default;
    explicit Policies(const Description &description);

    const filter_bridge_policy &of(const std::string &bridge) const;
    const std::vector<Address> &servers_of(const std::string &bridge) const;
    const filter_policy &of(const std::string &bridge, std::uint32_t port) const;

private:
    struct OfBridge {
        filter_bridge_policy policy{};
        filter_policy ports{};
        std::vector<Address> servers;
    };
    std::map<std::string, OfBridge> bridges_;
    std::map<std::pair<std::string, std::uint32_t>, filter_policy> ports_;
};

}  // namespace ia::node
