#include "node/kernel/limits.h"

#include <algorithm>

namespace ia::node {
namespace {

constexpr std::uint64_t second = 1'000'000'000;

template <class... Layer>
filter_policy policy_of(const Layer &...layers) {
    const auto said = [&](auto field) {
        std::optional<std::uint32_t> value;
        ((value = value ? value : layers.*field), ...);
        return value.value_or(0);
    };
    filter_policy policy{};
    policy.line = rate_of(said(&PortLimits::line_rate), said(&PortLimits::line_burst));
    policy.port = rate_of(said(&PortLimits::port_rate), said(&PortLimits::port_burst));
    policy.stations = rate_of(1, said(&PortLimits::new_addresses));
    policy.silence = said(&PortLimits::line_silence) * second;
    return policy;
}

filter_bridge_policy policy_of_bridge(const BridgeLimits &limits) {
    filter_bridge_policy policy{};
    policy.engine = rate_of(limits.engine_rate, limits.engine_rate / 50);
    policy.station_life = limits.address_life * second;
    policy.checks = static_cast<std::uint32_t>(limits.checks);
    policy.servers_checked = !limits.servers.empty() || limits.servers_first > 0;
    policy.servers_first = limits.servers_first;
    return policy;
}

std::uint32_t trust_of(const Interface &interface) {
    return interface.settings.trust.value_or(facts_of(interface.type).trust);
}

static_assert(std::uint32_t{FILTER_OFF} == static_cast<std::uint32_t>(Checks::off));
static_assert(std::uint32_t{FILTER_WATCH} == static_cast<std::uint32_t>(Checks::watch));
static_assert(std::uint32_t{FILTER_ENFORCE} == static_cast<std::uint32_t>(Checks::enforce));
static_assert(std::uint32_t{FILTER_SERVERS} == servers_max);

}  // namespace

filter_rate rate_of(std::uint32_t rate, std::uint32_t burst) {
    if (rate == 0) return {};
    const std::uint64_t interval = second / rate;
    return {interval, (std::max(burst, 1U) - 1) * interval};
}

Policies::Policies(const Description &description) {
    for (const Bridge &bridge : description.bridges)
        bridges_[bridge.name] = {policy_of_bridge(bridge.bridge_limits),
                                 policy_of(bridge.limits, usual_limits),
                                 bridge.bridge_limits.servers};
    for (const Interface &interface : description.interfaces) {
        const Bridge *bridge = bridge_of(description, interface);
        if (!bridge) continue;
        filter_policy policy = policy_of(interface.limits, bridge->limits, usual_limits);
        policy.trusted = trust_of(interface) == PPPOEIA_PORT_TRUSTED;
        ports_[{bridge->name, interface.id}] = policy;
    }
}

const filter_bridge_policy &Policies::of(const std::string &bridge) const {
    static const filter_bridge_policy usual = policy_of_bridge({});
    const auto found = bridges_.find(bridge);
    return found == bridges_.end() ? usual : found->second.policy;
}

const std::vector<Address> &Policies::servers_of(const std::string &bridge) const {
    static const std::vector<Address> none;
    const auto found = bridges_.find(bridge);
    return found == bridges_.end() ? none : found->second.servers;
}

const filter_policy &Policies::of(const std::string &bridge, std::uint32_t port) const {
    static const filter_policy usual = policy_of(usual_limits);
    const auto own = ports_.find({bridge, port});
    if (own != ports_.end()) return own->second;
    const auto found = bridges_.find(bridge);
    return found == bridges_.end() ? usual : found->second.ports;
}

}  // namespace ia::node
