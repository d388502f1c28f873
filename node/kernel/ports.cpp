#include "node/kernel/ports.h"

#include <net/ethernet.h>
#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::uint32_t full_frame = ETHER_HDR_LEN + 3 * 4 + ETHERMTU;
constexpr std::uint16_t lowest_ethertype = 0x0600;
constexpr std::uint16_t ethertype_discovery = 0x8863;

// Types that stand in a bridge. One of the others may still be put into it.
bool is_bridged(InterfaceType type) {
    return type != InterfaceType::mng && type != InterfaceType::olt && type != InterfaceType::onu;
}

void check(const Description &description) {
    const auto refuse = [&](const std::string &place, const char *why) {
        throw std::runtime_error(description.file + ": " + place + ": " + why);
    };
    if (description.bridges.size() > FILTER_BRIDGES) refuse("bridges", "more than 16");
    for (const Bridge &bridge : description.bridges) {
        if (bridge.max_pdu > FILTER_FRAME_MAX) refuse(bridge.name, "max_pdu is above 9728");
        if (bridge.stag_ethertype < lowest_ethertype ||
            bridge.stag_ethertype == ethertype_discovery)
            refuse(bridge.name, "stag_ethertype is not that of a VLAN tag");
    }
    for (const Interface &interface : description.interfaces)
        if (interface.id == 0 || interface.id > UINT16_MAX)
            refuse(interface.name, "id is not between 1 and 65535");
}

std::uint32_t role_of(const Interface &interface) {
    return faces_network(interface.type) ? FILTER_NETWORK : FILTER_SUBSCRIBER;
}

template <std::size_t size>
void copy_name(const std::string &name, char (&to)[size]) {
    name.copy(to, size - 1);
}

bool same(const filter_port &a, const filter_port &b) {
    return a.bridge == b.bridge && a.role == b.role && a.input == b.input &&
           std::equal(a.name, a.name + sizeof a.name, b.name);
}

std::uint32_t lowest_free(const std::set<std::uint32_t> &used) {
    std::uint32_t free = 0;
    for (const std::uint32_t slot : used) {
        if (slot != free) break;
        ++free;
    }
    return free;
}

}  // namespace

std::uint32_t BridgeState::frame_max() const {
    const auto of_device = static_cast<std::uint32_t>(ETHER_HDR_LEN + mtu);
    return std::min<std::uint32_t>(std::max({full_frame, of_device, description.max_pdu}),
                                   FILTER_FRAME_MAX);
}

int BridgeState::pseudo_mtu() const {
    return static_cast<int>(frame_max() + RECORD_SIZE - ETHER_HDR_LEN);
}

void Ports::describe(const Description &description) {
    check(description);
    interfaces_.clear();
    for (Interface interface : description.interfaces) {
        if (interface.device.empty()) continue;
        if (interface.bridge.empty() && !description.bridges.empty())
            interface.bridge = description.bridges.front().name;
        interfaces_.emplace(interface.device, std::move(interface));
    }

    const auto described = [&](const BridgeState &state) {
        return std::any_of(
            description.bridges.begin(), description.bridges.end(),
            [&](const Bridge &bridge) { return bridge.name == state.description.name; });
    };
    for (BridgeState &state : bridges_)
        if (!described(state)) withdraw_bridge(state);
    std::erase_if(bridges_, [&](const BridgeState &state) { return !described(state); });

    std::set<std::uint32_t> numbers;
    for (const BridgeState &state : bridges_) numbers.insert(state.number);
    for (const Bridge &bridge : description.bridges) {
        filter_.set_tag_type(bridge.stag_ethertype);
        if (BridgeState *state = find(bridge.name)) {
            state->description = bridge;
            continue;
        }
        BridgeState state;
        state.description = bridge;
        state.number = lowest_free(numbers);
        numbers.insert(state.number);
        bridges_.push_back(std::move(state));
    }
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

void Ports::hold(const std::string &bridge, std::uint32_t port, bool on,
                 const std::vector<Link> &links) {
    if (on)
        holds_[bridge].insert(port);
    else if (port == 0)
        holds_.erase(bridge);
    else
        holds_[bridge].erase(port);
    reconcile(links, false);
}

bool Ports::is_held(const std::string &bridge, std::uint32_t port) const {
    const auto held = holds_.find(bridge);
    return held != holds_.end() && held->second.contains(port);
}

std::optional<Ports::Wish> Ports::wish(const Link &link) {
    const auto found = interfaces_.find(link.name);
    const Interface *interface = found == interfaces_.end() ? nullptr : &found->second;
    if (link.master == 0) {
        if (interface && is_bridged(interface->type) && !find(link.name)) return Wish{};
        return std::nullopt;
    }
    for (BridgeState &bridge : bridges_) {
        if (bridge.device != link.master) continue;
        if (!interface || interface->bridge != bridge.description.name || !link.forwarding ||
            is_held(interface->bridge, interface->id))
            return Wish{};
        return Wish{&bridge, interface};
    }
    return std::nullopt;
}

std::vector<std::string> Ports::reconcile(const std::vector<Link> &links, bool verify) {
    locate_bridges(links);
    drop_unwanted(links);
    std::vector<std::string> errors;
    for (const Link &link : links) {
        try {
            secure(link, verify);
        } catch (const std::system_error &error) {
            if (error.code().value() != ENODEV) errors.emplace_back(error.what());
        }
    }
    for (const BridgeState &bridge : bridges_) store_bridge(bridge);
    return errors;
}

void Ports::locate_bridges(const std::vector<Link> &links) {
    for (BridgeState &bridge : bridges_) {
        const Link *link = find_link(links, bridge.description.name);
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

void Ports::drop_unwanted(const std::vector<Link> &links) {
    for (auto at = ports_.begin(); at != ports_.end();) {
        const Link *link = find_link(links, at->first);
        if (link && wish(*link)) {
            // Its old name may by now be another port's.
            if (link->name != at->second.name) withdraw(at->first, at->second);
            ++at;
            continue;
        }
        withdraw(at->first, at->second);
        if (link) Filter::detach(at->first, at->second.with_qdisc);
        at = ports_.erase(at);
    }
}

// The programs come first: until the filter knows the port, it holds.
void Ports::secure(const Link &link, bool verify) {
    const auto wanted = wish(link);
    if (!wanted) return;
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
    record.role = role_of(*wanted.interface);
    record.input = wanted.interface->id;
    copy_name(port.name, record.name);
    if (port.known && same(*port.known, record)) return;
    withdraw(device, port);

    auto &slots = wanted.bridge->slots[record.role];
    record.slot = lowest_free(slots);
    if (record.slot >= FILTER_SLOTS)
        throw std::system_error(ENOSPC, std::system_category(), port.name + ": bridge port");
    slots.insert(record.slot);
    port.known = record;
    const auto index = static_cast<std::uint32_t>(device);
    filter_.set_port(device, record);
    filter_.set_slot(record, device);
    filter_.set_output(port.name, {index, record.bridge, record.role, 0});
}

void Ports::withdraw(int device, Port &port) {
    if (!port.known) return;
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

void Ports::store_bridge(const BridgeState &bridge) {
    filter_bridge record{};
    const bool held = is_held(bridge.description.name, 0);
    record.pseudo = held ? 0 : static_cast<std::uint32_t>(bridge.pseudo);
    // Until the engine has made room for larger ones, those of before pass.
    const int room = bridge.attached_mtu + ETHER_HDR_LEN - RECORD_SIZE;
    record.frame_max = bridge.pseudo == 0
                           ? bridge.frame_max()
                           : std::min(bridge.frame_max(), static_cast<std::uint32_t>(room));
    copy_name(bridge.description.name, record.name);
    for (std::size_t role = 0; role < FILTER_ROLES; ++role)
        record.slots[role] = bridge.slots[role].empty() ? 0 : *bridge.slots[role].rbegin() + 1;
    unsigned count[FILTER_ROLES] = {};
    for (const auto &[device, port] : ports_) {
        if (!port.known || port.known->bridge != bridge.number) continue;
        const std::uint32_t role = port.known->role;
        record.sole[role] = ++count[role] == 1 ? static_cast<std::uint32_t>(device) : 0;
    }
    filter_.set_bridge(bridge.number, record);
}

void Ports::release(Release which) {
    for (auto &[device, port] : ports_) {
        withdraw(device, port);
        if (which == Release::all || !port.taken_over) Filter::detach(device, port.with_qdisc);
    }
    ports_.clear();
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
