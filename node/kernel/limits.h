// The description's limits in the filter's form.
#pragma once

#include "node/description/description.h"
#include "node/kernel/filter_maps.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ia::node {

// A rate in frames a second, and a burst.
filter_rate rate_of(std::uint32_t rate, std::uint32_t burst);

// The limits of a description, by bridge and port. Bridges and ports that it does
// not name have the defaults.
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
