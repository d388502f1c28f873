// Updates the filter to the present devices and their wanted state.
#include "node/kernel/ports.h"

#include <net/ethernet.h>
#include <algorithm>
#include <cerrno>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::uint32_t heading_max = ETHER_HDR_LEN + 3 * 4;  // with the tags that the engine reads

template <std::size_t Size>
void copy_name(const std::string &name, char (&to)[Size]) {
    name.copy(to, Size - 1);
}

bool same(const filter_port &a, const filter_port &b) {
    return a.bridge == b.bridge && a.role == b.role && a.input == b.input &&
           std::equal(a.name, a.name + sizeof a.name, b.name);
}

}  // namespace

std::uint32_t BridgeState::frame_max() const {
    const auto full_frame = heading_max + static_cast<std::uint32_t>(std::max(mtu, ETHERMTU));
    return std::min<std::uint32_t>(std::max(full_frame, description.max_pdu), FILTER_FRAME_MAX);
}

int BridgeState::pseudo_mtu() const {
    return static_cast<int>(frame_max() + RECORD_SIZE - ETHER_HDR_LEN);
}

bool Ports::is_agent_bridge(const Link &link) const {
    return std::any_of(bridges_.begin(), bridges_.end(), [&](const BridgeState &state) {
        return state.device == link.index || device_of(state.description) == link.name;
    });
}

std::optional<Ports::WantedPort> Ports::wanted_port(const Link &link) {
    if (link.master == 0) {
        if (awaited_.contains(link.name) && !is_agent_bridge(link)) return WantedPort{};
        return std::nullopt;
    }
    const auto found = bindings_.find(link.name);
    const Binding *binding = found == bindings_.end() ? nullptr : &found->second;
    for (BridgeState &bridge : bridges_) {
        if (bridge.device != link.master) continue;
        if (!binding || binding->bridge != bridge.description.name || !link.forwarding ||
            is_held(binding->bridge, binding->port))
            return WantedPort{};
        return WantedPort{&bridge, binding};
    }
    return std::nullopt;
}

std::vector<std::string> Ports::update_all(bool verify) {
    locate_bridges();
    drop_unwanted();
    std::vector<std::string> errors;
    for (const auto &[index, link] : links_.all()) {
        try {
            install_filter(link, verify);
        } catch (const std::system_error &error) {
            if (error.code().value() != ENODEV) errors.emplace_back(error.what());
        }
    }
    for (BridgeState &bridge : bridges_) store_bridge(bridge);
    return errors;
}

void Ports::update(const std::string &device) {
    if (const Link *link = links_.find(device)) update(link->index);
}

void Ports::update(int device) {
    const Link *link = links_.find(device);
    const bool was_bridge =
        std::any_of(bridges_.begin(), bridges_.end(),
                    [&](const BridgeState &state) { return state.device == device; });
    if (was_bridge || (link && is_agent_bridge(*link))) {
        const auto errors = update_all(false);
        if (!errors.empty()) throw std::system_error(EIO, std::system_category(), errors.front());
        return;
    }
    const auto known = ports_.find(device);
    const std::optional<filter_port> before =
        known == ports_.end() ? std::nullopt : known->second.known;
    if (!link || !wanted_port(*link)) {
        drop(device);
    } else {
        // Another port may have its old name by now.
        if (known != ports_.end() && link->name != known->second.name)
            withdraw(device, known->second);
        install_filter(*link, false);
    }
    const auto now = ports_.find(device);
    if (before) store_bridge(before->bridge);
    if (now != ports_.end() && now->second.known &&
        !(before && before->bridge == now->second.known->bridge))
        store_bridge(now->second.known->bridge);
}

void Ports::verify(int device) {
    if (const Link *link = links_.find(device)) install_filter(*link, true);
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
        if (!link || !wanted_port(*link))
            unwanted.push_back(device);
        else if (link->name != port.name)  // another port may have that name by now
            withdraw(device, port);
    }
    for (const int device : unwanted) drop(device);
}

// The programs are attached first: they hold frames until the filter knows the
// port.
void Ports::install_filter(const Link &link, bool verify) {
    const auto wanted = wanted_port(link);
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

void Ports::publish(int device, Port &port, const WantedPort &wanted) {
    if (!wanted.bridge) return withdraw(device, port);
    filter_port record{};
    record.bridge = wanted.bridge->number;
    record.role = wanted.binding->role;
    record.input = wanted.binding->port;
    copy_name(port.name, record.name);
    record.policy = policies_.of(wanted.bridge->description.name, record.input);
    if (port.known && port.told && same(*port.known, record)) return;
    withdraw(device, port);

    auto &slots = wanted.bridge->slots[record.role];
    record.slot = lowest_free(slots);
    if (record.slot >= FILTER_SLOTS)
        throw std::system_error(ENOSPC, std::system_category(), port.name + ": bridge port");
    slots.emplace(record.slot, device);
    record.epoch = ++epochs_;
    record.place = take_place(record.role);
    port.known = record;
    port.told = false;
    const auto index = static_cast<std::uint32_t>(device);
    filter_.set_slot(record, device);
    filter_.set_output(port.name, {index, record.bridge, record.role, 0});
    filter_.set_port(device, record);
    port.told = true;
}

// Shares shrink as ports come, and do not grow again as they go. An address in a
// cell that now belongs to another port is forgotten when that port needs the cell.
std::uint32_t Ports::take_place(std::uint32_t role) {
    const std::uint32_t place = lowest_free(places_[role]);
    places_[role].insert(place);
    most_[role] = std::max(most_[role], place + 1);
    filter_.set_station_share(role, station_share(role, most_[role]));
    return place;
}

void Ports::withdraw(int device, Port &port) {
    if (!port.known) return;
    filter_.clear_port(device);
    filter_.clear_output(port.known->name);
    filter_.set_slot(*port.known, 0);
    places_[port.known->role].erase(port.known->place);
    for (BridgeState &bridge : bridges_)
        if (bridge.number == port.known->bridge)
            bridge.slots[port.known->role].erase(port.known->slot);
    port.known.reset();
}

void Ports::withdraw_bridge(BridgeState &bridge) {
    set_pseudo(bridge, 0);
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
    // Frames of the old size pass until the engine has room for larger ones.
    const int room = bridge.attached_mtu + ETHER_HDR_LEN - RECORD_SIZE;
    record.frame_max = bridge.pseudo == 0
                           ? bridge.frame_max()
                           : std::min(bridge.frame_max(), static_cast<std::uint32_t>(room));
    copy_name(bridge.description.name, record.name);
    record.policy = policies_.of(bridge.description.name);
    for (std::size_t role = 0; role < FILTER_ROLES; ++role) {
        const auto &slots = bridge.slots[role];
        record.slots[role] = slots.empty() ? 0 : slots.rbegin()->first + 1;
        record.sole[role] =
            slots.size() == 1 ? static_cast<std::uint32_t>(slots.begin()->second) : 0;
    }
    filter_.set_bridge(bridge.number, record);
}

}  // namespace ia::node
