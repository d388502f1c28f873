#include "node/kernel/ports.h"

#include <net/ethernet.h>
#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::uint32_t heading_max = ETHER_HDR_LEN + 3 * 4;  // with the tags that the engine reads
constexpr std::uint16_t lowest_ethertype = 0x0600;
constexpr std::uint16_t ethertype_discovery = 0x8863;

// Null for a bridge that the filter can serve.
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
    for (const Interface &interface : description.interfaces)
        if (interface.id == 0 || interface.id > UINT16_MAX)
            refuse(interface.name, "id is not between 1 and 65535");
}

std::uint32_t role_of(const Interface &interface) {
    return facts_of(interface.type).faces_network ? FILTER_NETWORK : FILTER_SUBSCRIBER;
}

template <std::size_t size>
void copy_name(const std::string &name, char (&to)[size]) {
    name.copy(to, size - 1);
}

bool same(const filter_port &a, const filter_port &b) {
    return a.bridge == b.bridge && a.role == b.role && a.input == b.input &&
           std::equal(a.name, a.name + sizeof a.name, b.name);
}

// Of a set of numbers, or a map from them.
template <class Used>
std::uint32_t lowest_free(const Used &used) {
    std::uint32_t free = 0;
    while (used.contains(free)) ++free;
    return free;
}

}  // namespace

const std::string &device_of(const Bridge &bridge) {
    return bridge.device.empty() ? bridge.name : bridge.device;
}

std::uint32_t BridgeState::frame_max() const {
    const auto full_frame = heading_max + static_cast<std::uint32_t>(std::max(mtu, ETHERMTU));
    return std::min<std::uint32_t>(std::max(full_frame, description.max_pdu), FILTER_FRAME_MAX);
}

int BridgeState::pseudo_mtu() const {
    return static_cast<int>(frame_max() + RECORD_SIZE - ETHER_HDR_LEN);
}

void Ports::describe(const Description &description) {
    check(description);
    awaited_.clear();
    if (!bound_) bindings_.clear();
    for (const Interface &interface : description.interfaces) {
        if (interface.device.empty()) continue;
        if (facts_of(interface.type).stands_in_bridge) awaited_.insert(interface.device);
        const std::string bridge = interface.bridge.empty() && !description.bridges.empty()
                                       ? description.bridges.front().name
                                       : interface.bridge;
        if (!bound_)
            bindings_.emplace(interface.device, Binding{bridge, interface.id, role_of(interface)});
    }

    std::set<std::string> gone;
    for (const BridgeState &state : bridges_) gone.insert(state.description.name);
    for (const Bridge &bridge : description.bridges) gone.erase(bridge.name);
    for (const std::string &name : gone) forget(name);
    for (const Bridge &bridge : description.bridges) add_bridge(bridge);
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
    follow(device);
}

void Ports::unbind(const std::string &bridge, std::uint32_t port) {
    if (!bound_) {
        bound_ = true;
        bindings_.clear();
        follow_all(false);
    }
    const auto found = std::find_if(bindings_.begin(), bindings_.end(), [&](const auto &entry) {
        return entry.second.bridge == bridge && entry.second.port == port;
    });
    if (found == bindings_.end()) return;
    const std::string device = found->first;
    awaited_.erase(device);
    bindings_.erase(found);
    follow(device);
}

BridgeState *Ports::find(const std::string &name) {
    const auto found =
        std::find_if(bridges_.begin(), bridges_.end(),
                     [&](const BridgeState &state) { return state.description.name == name; });
    return found == bridges_.end() ? nullptr : &*found;
}

void Ports::direct(BridgeState &bridge, int pseudo) {
    const int old = bridge.pseudo;
    if (pseudo != 0) filter_.set_pseudo(pseudo, bridge.number);
    bridge.pseudo = pseudo;
    store_bridge(bridge);
    if (old != 0 && old != pseudo) filter_.clear_pseudo(old);
}

void Ports::hold(const std::string &bridge, std::uint32_t port, bool on) {
    auto &held = holds_[bridge];
    const std::set<std::uint32_t> touched = port == 0 ? held : std::set{port};
    if (on)
        held.insert(port);
    else if (port == 0)
        held.clear();
    else
        held.erase(port);
    if (held.empty()) holds_.erase(bridge);
    for (const std::uint32_t each : touched)
        for (const std::string &device : devices_of(bridge, each)) follow(device);
    if (BridgeState *state = port == 0 ? find(bridge) : nullptr) store_bridge(*state);
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

bool Ports::is_agent_bridge(const Link &link) const {
    return std::any_of(bridges_.begin(), bridges_.end(), [&](const BridgeState &state) {
        return state.device == link.index || device_of(state.description) == link.name;
    });
}

std::optional<Ports::Wish> Ports::wish(const Link &link) {
    if (link.master == 0) {
        if (awaited_.contains(link.name) && !is_agent_bridge(link)) return Wish{};
        return std::nullopt;
    }
    const auto found = bindings_.find(link.name);
    const Binding *binding = found == bindings_.end() ? nullptr : &found->second;
    for (BridgeState &bridge : bridges_) {
        if (bridge.device != link.master) continue;
        if (!binding || binding->bridge != bridge.description.name || !link.forwarding ||
            is_held(binding->bridge, binding->port))
            return Wish{};
        return Wish{&bridge, binding};
    }
    return std::nullopt;
}

std::vector<std::string> Ports::follow_all(bool verify) {
    locate_bridges();
    drop_unwanted();
    std::vector<std::string> errors;
    for (const auto &[index, link] : links_.all()) {
        try {
            secure(link, verify);
        } catch (const std::system_error &error) {
            if (error.code().value() != ENODEV) errors.emplace_back(error.what());
        }
    }
    for (BridgeState &bridge : bridges_) store_bridge(bridge);
    return errors;
}

void Ports::follow(const std::string &device) {
    if (const Link *link = links_.find(device)) follow(link->index);
}

void Ports::follow(int device) {
    const Link *link = links_.find(device);
    const bool was_bridge =
        std::any_of(bridges_.begin(), bridges_.end(),
                    [&](const BridgeState &state) { return state.device == device; });
    if (was_bridge || (link && is_agent_bridge(*link))) {
        const auto errors = follow_all(false);
        if (!errors.empty()) throw std::system_error(EIO, std::system_category(), errors.front());
        return;
    }
    const auto known = ports_.find(device);
    const std::optional<filter_port> before =
        known == ports_.end() ? std::nullopt : known->second.known;
    if (!link || !wish(*link)) {
        drop(device);
    } else {
        // Its old name may by now be another port's.
        if (known != ports_.end() && link->name != known->second.name)
            withdraw(device, known->second);
        secure(*link, false);
    }
    const auto now = ports_.find(device);
    if (before) store_bridge(before->bridge);
    if (now != ports_.end() && now->second.known &&
        !(before && before->bridge == now->second.known->bridge))
        store_bridge(now->second.known->bridge);
}

void Ports::verify(int device) {
    if (const Link *link = links_.find(device)) secure(*link, true);
}

void Ports::store_bridge(std::uint32_t number) {
    for (BridgeState &bridge : bridges_)
        if (bridge.number == number) store_bridge(bridge);
}

void Ports::locate_bridges() {
    for (BridgeState &bridge : bridges_) {
        const Link *link = links_.find(device_of(bridge.description));
        bridge.device = link && link->is_bridge() ? link->index : 0;
        if (bridge.device != 0) bridge.mtu = link->mtu;
        if (bridge.device == 0) {
            filter_.clear_output(bridge.description.name);
            continue;
        }
        filter_output output{};
        output.device = static_cast<std::uint32_t>(bridge.device);
        output.bridge = bridge.number;
        output.role = FILTER_BRIDGE;
        filter_.set_output(bridge.description.name, output);
    }
}

void Ports::drop(int device) {
    const auto known = ports_.find(device);
    if (known == ports_.end()) return;
    withdraw(device, known->second);
    if (links_.find(device)) filter_.places().detach(device, known->second.with_qdisc);
    filter_.end_counts(device);
    ports_.erase(known);
}

void Ports::drop_unwanted() {
    std::vector<int> unwanted;
    for (auto &[device, port] : ports_) {
        const Link *link = links_.find(device);
        if (!link || !wish(*link))
            unwanted.push_back(device);
        else if (link->name != port.name)  // by now perhaps another port's name
            withdraw(device, port);
    }
    for (const int device : unwanted) drop(device);
}

// The programs come first: until the filter knows the port, it holds.
void Ports::secure(const Link &link, bool verify) {
    const auto wanted = wish(link);
    if (!wanted) return;
    if (!ports_.contains(link.index)) filter_.begin_counts(link.index);
    Port &port = ports_[link.index];
    port.name = link.name;
    for (const Hook hook : {Hook::port_out, Hook::port_in}) {
        if (port.in_place && (!verify || filter_.attached(hook, link.index))) continue;
        const Attachment made = filter_.attach(hook, link.index, link.name);
        port.with_qdisc |= made.qdisc || made.taken_over;
        port.taken_over |= made.taken_over;
    }
    port.in_place = true;
    publish(link.index, port, *wanted);
}

void Ports::publish(int device, Port &port, const Wish &wanted) {
    if (!wanted.bridge) return withdraw(device, port);
    filter_port record{};
    record.bridge = wanted.bridge->number;
    record.role = wanted.binding->role;
    record.input = wanted.binding->port;
    copy_name(port.name, record.name);
    if (port.known && same(*port.known, record)) return;
    withdraw(device, port);

    auto &slots = wanted.bridge->slots[record.role];
    record.slot = lowest_free(slots);
    if (record.slot >= FILTER_SLOTS)
        throw std::system_error(ENOSPC, std::system_category(), port.name + ": bridge port");
    slots.emplace(record.slot, device);
    record.epoch = ++epochs_;
    record.place = take_place(record.role);
    port.known = record;
    const auto index = static_cast<std::uint32_t>(device);
    filter_.set_port(device, record);
    filter_.set_slot(record, device);
    filter_.set_output(port.name, {index, record.bridge, record.role, 0});
}

// Shares become smaller as ports come, and do not grow again as they go. An address
// whose cell has become another port's is forgotten when that port needs it.
std::uint32_t Ports::take_place(std::uint32_t role) {
    const std::uint32_t place = lowest_free(places_[role]);
    places_[role].insert(place);
    most_[role] = std::max(most_[role], place + 1);
    filter_.set_station_share(role, station_share(role, most_[role]));
    return place;
}

void Ports::withdraw(int device, Port &port) {
    if (!port.known) return;
    places_[port.known->role].erase(port.known->place);
    filter_.clear_port(device);
    filter_.clear_output(port.known->name);
    filter_.set_slot(*port.known, 0);
    for (BridgeState &bridge : bridges_)
        if (bridge.number == port.known->bridge)
            bridge.slots[port.known->role].erase(port.known->slot);
    port.known.reset();
}

void Ports::withdraw_bridge(BridgeState &bridge) {
    direct(bridge, 0);
    for (auto &[device, port] : ports_)
        if (port.known && port.known->bridge == bridge.number) withdraw(device, port);
    filter_.clear_output(bridge.description.name);
}

void Ports::store_bridge(BridgeState &bridge) {
    filter_bridge record{};
    const bool held = is_held(bridge.description.name, 0);
    record.pseudo = held ? 0 : static_cast<std::uint32_t>(bridge.pseudo);
    if (record.pseudo == 0) bridge.epoch = ++epochs_;
    record.epoch = bridge.epoch;
    record.stag_ethertype = bridge.description.stag_ethertype;
    // Until the engine has made room for larger ones, those of before pass.
    const int room = bridge.attached_mtu + ETHER_HDR_LEN - RECORD_SIZE;
    record.frame_max = bridge.pseudo == 0
                           ? bridge.frame_max()
                           : std::min(bridge.frame_max(), static_cast<std::uint32_t>(room));
    copy_name(bridge.description.name, record.name);
    for (std::size_t role = 0; role < FILTER_ROLES; ++role) {
        const auto &slots = bridge.slots[role];
        record.slots[role] = slots.empty() ? 0 : slots.rbegin()->first + 1;
        record.sole[role] =
            slots.size() == 1 ? static_cast<std::uint32_t>(slots.begin()->second) : 0;
    }
    filter_.set_bridge(bridge.number, record);
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

// What was counted for another port says nothing of this one.
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
