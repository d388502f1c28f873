#include "node/kernel/ports.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::uint16_t lowest_ethertype = 0x0600;
constexpr std::uint16_t ethertype_discovery = 0x8863;

// The bridge's value that the filter cannot serve; null when there is none.
const char *fault_of(const Bridge &bridge) {
    if (bridge.max_pdu > FILTER_FRAME_MAX) return "max_pdu is above 9728";
    if (bridge.stag_ethertype < lowest_ethertype || bridge.stag_ethertype == ethertype_discovery)
        return "stag_ethertype is not that of a VLAN tag";
    return nullptr;
}

void check(const Description &description) {
    const auto refuse = [&](const std::string &place, const char *why) {
        throw std::runtime_error(description.file + ": " + place + ": " + why);
    };
    if (description.bridges.size() > FILTER_BRIDGES) refuse("bridges", "more than 16");
    for (const Bridge &bridge : description.bridges)
        if (const char *fault = fault_of(bridge)) refuse(bridge.name, fault);
}

}  // namespace

const std::string &device_of(const Bridge &bridge) {
    return bridge.device.empty() ? bridge.name : bridge.device;
}

void Ports::describe(const Description &description) {
    check(description);
    policies_ = Policies(description);
    for (const Interface &interface : description.interfaces)
        if (!interface.device.empty() && facts_of(interface.type).stands_in_bridge)
            awaited_.insert(interface.device);
    for (const Bridge &bridge : description.bridges) add_bridge(bridge);
}

void Ports::limit(const Description &description) {
    policies_ = Policies(description);
    for (BridgeState &bridge : bridges_) {
        filter_.set_servers(bridge.number, policies_.servers_of(bridge.description.name));
        store_bridge(bridge);
        for (auto &[device, port] : ports_)
            if (port.known && port.known->bridge == bridge.number) limit(device, port, bridge);
    }
}

// Changed limits do not affect frames under way.
void Ports::limit(int device, Port &port, const BridgeState &bridge) {
    const filter_policy &wanted = policies_.of(bridge.description.name, port.known->input);
    if (std::memcmp(&port.known->policy, &wanted, sizeof wanted) == 0) return;
    port.known->policy = wanted;
    port.told = false;
    filter_.set_port(device, *port.known);
    port.told = true;
}

void Ports::describe(const Bridge &bridge) {
    if (const char *fault = fault_of(bridge))
        throw std::system_error(EINVAL, std::system_category(), bridge.name + ": " + fault);
    if (!find(bridge.name) && bridges_.size() == FILTER_BRIDGES)
        throw std::system_error(ENOSPC, std::system_category(), bridge.name);
    add_bridge(bridge);
}

void Ports::add_bridge(const Bridge &bridge) {
    filter_.set_tag_type(bridge.stag_ethertype);
    if (BridgeState *state = find(bridge.name)) {
        state->description = bridge;
        return;
    }
    std::set<std::uint32_t> numbers;
    for (const BridgeState &state : bridges_) numbers.insert(state.number);
    BridgeState state;
    state.description = bridge;
    state.number = lowest_free(numbers);
    filter_.set_servers(state.number, policies_.servers_of(bridge.name));
    bridges_.push_back(std::move(state));
}

void Ports::forget(const std::string &bridge) {
    BridgeState *const state = find(bridge);
    if (!state) return;
    withdraw_bridge(*state);
    bridges_.erase(bridges_.begin() + (state - bridges_.data()));
}

void Ports::bind(const std::string &bridge, std::uint32_t port, const std::string &device,
                 std::uint32_t role) {
    unbind(bridge, port);
    bindings_[device] = {bridge, port, role};
    awaited_.insert(device);
    count_from_zero(device);
    update(device);
}

void Ports::unbind(const std::string &bridge, std::uint32_t port) {
    const auto found = std::find_if(bindings_.begin(), bindings_.end(), [&](const auto &entry) {
        return entry.second.bridge == bridge && entry.second.port == port;
    });
    if (found == bindings_.end()) return;
    const std::string device = found->first;
    awaited_.erase(device);
    bindings_.erase(found);
    update(device);
}

BridgeState *Ports::find(const std::string &name) {
    const auto found =
        std::find_if(bridges_.begin(), bridges_.end(),
                     [&](const BridgeState &state) { return state.description.name == name; });
    return found == bridges_.end() ? nullptr : &*found;
}

void Ports::set_pseudo(BridgeState &bridge, int pseudo) {
    const int old = bridge.pseudo;
    if (pseudo != 0) filter_.set_pseudo(pseudo, bridge.number);
    bridge.pseudo = pseudo;
    store_bridge(bridge);
    if (old != 0 && old != pseudo) filter_.clear_pseudo(old);
}

void Ports::hold(const std::string &bridge, std::uint32_t port, bool on) {
    const std::set<std::uint32_t> before = holds_[bridge];
    auto &held = holds_[bridge];
    const std::set<std::uint32_t> touched = port == 0 ? before : std::set{port};
    if (on)
        held.insert(port);
    else if (port == 0)
        held.clear();
    else
        held.erase(port);
    try {
        for (const std::uint32_t each : touched)
            for (const std::string &device : devices_of(bridge, each)) update(device);
        if (BridgeState *state = port == 0 ? find(bridge) : nullptr) store_bridge(*state);
    } catch (const std::system_error &) {
        held.insert(before.begin(), before.end());
        throw;
    }
    if (held.empty()) holds_.erase(bridge);
}

std::vector<std::string> Ports::devices_of(const std::string &bridge, std::uint32_t port) const {
    std::vector<std::string> devices;
    for (const auto &[device, binding] : bindings_)
        if (binding.bridge == bridge && binding.port == port) devices.push_back(device);
    return devices;
}

bool Ports::is_held(const std::string &bridge, std::uint32_t port) const {
    const auto held = holds_.find(bridge);
    return held != holds_.end() && held->second.contains(port);
}

const Link *Ports::link_of(const std::string &bridge, std::uint32_t port) const {
    const auto devices = devices_of(bridge, port);
    return devices.empty() ? nullptr : links_.find(devices.front());
}

frame_counts Ports::counts(const std::string &bridge, std::uint32_t port) const {
    const Link *link = link_of(bridge, port);
    return link ? filter_.counts(link->index) : frame_counts{};
}

void Ports::clear_counts(const std::string &bridge, std::uint32_t port) {
    const Link *link = link_of(bridge, port);
    if (link && carries(link->index)) filter_.begin_counts(link->index);
}

// Counts of another port must not count for this one.
void Ports::count_from_zero(const std::string &device) {
    const Link *link = links_.find(device);
    if (link && carries(link->index)) filter_.begin_counts(link->index);
}

std::vector<PortStatus> Ports::status() const {
    std::vector<PortStatus> all;
    for (const auto &[device, port] : ports_) {
        PortStatus status;
        status.device = port.name;
        status.held = !port.known;
        if (port.known) {
            status.id = port.known->input;
            status.network = port.known->role == FILTER_NETWORK;
            for (const BridgeState &bridge : bridges_)
                if (bridge.number == port.known->bridge) status.bridge = bridge.description.name;
        }
        all.push_back(std::move(status));
    }
    return all;
}

}  // namespace ia::node
