#include "node/kernel/kernel.h"

#include "node/kernel/pseudo_device.h"

#include <syslog.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::uint16_t usual_tags[] = {0x8100, 0x88A8, 0x9100, 0x9200, 0x9300};

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += (text.empty() ? "" : "; ") + line;
    return text;
}

std::optional<Barrier> make_barrier() {
    try {
        return std::optional<Barrier>(std::in_place);
    } catch (const std::system_error &error) {
        syslog(LOG_WARNING, "no netfilter here, the filter at the ports stands alone: %s",
               error.what());
        return std::nullopt;
    }
}

}  // namespace

Kernel::Kernel(const Description &description) : barrier_(make_barrier()) {
    ports_.describe(description);
    links_.replace(list_links());
    raise_barrier();
    if (const auto errors = ports_.update_all(false); !errors.empty())
        throw std::runtime_error(joined(errors));
    take_over();
    watcher_ = std::thread(&Kernel::watch, this);
    enlist();
}

// The hold outlives this object.
Kernel::~Kernel() {
    delist();
    events_.stop();
    watcher_.join();
}

void Kernel::limit(const Description &description) {
    const std::lock_guard guard(lock_);
    ports_.limit(description);
}

std::vector<PortStatus> Kernel::ports() const {
    const std::lock_guard guard(lock_);
    return ports_.status();
}

std::array<std::uint64_t, OUTCOME_COUNT> Kernel::outcomes() const {
    return filter_.outcomes();
}

// Cleans up after an earlier engine: its pseudo devices wait for their bridge;
// programs on devices that are no ports any more are removed.
void Kernel::take_over() {
    for (const int device : filter_.places().devices()) {
        const Link *link = links_.find(device);
        if (!link) continue;
        if (link->is_tap() && filter_.places().attached_by_anyone(Hook::pseudo_out, device))
            pseudo_devices_[device] = link->name;
        else if (!ports_.carries(device) &&
                 (filter_.places().attached_by_anyone(Hook::port_in, device) ||
                  filter_.places().attached_by_anyone(Hook::port_out, device)))
            filter_.places().detach(device, true);
    }
}

void Kernel::hold_pseudo(int device) {
    for (BridgeState &bridge : ports_.bridges())
        if (bridge.pseudo == device) ports_.set_pseudo(bridge, 0);
}

// Closes the described bridges if the rules differ from the present ones.
void Kernel::raise_barrier() {
    if (!barrier_) return;
    Barrier::Rules rules;
    std::set<int> ours;
    for (const std::uint16_t type : usual_tags) rules.tag_types.insert(type);
    for (const BridgeState &bridge : ports_.bridges()) {
        rules.bridges.insert(device_of(bridge.description));
        rules.tag_types.insert(bridge.description.stag_ethertype);
        if (const Link *link = links_.find(device_of(bridge.description))) ours.insert(link->index);
    }
    if (!barrier_->knows_bridges()) {
        for (const auto &[index, link] : links_.all()) {
            const Link *master = link.master == 0 ? nullptr : links_.find(link.master);
            if (master && master->is_bridge() && !ours.contains(master->index))
                rules.open_ports.insert(static_cast<std::uint32_t>(index));
        }
    }
    if (rules == rules_) return;
    const bool knew = barrier_->knows_bridges();
    try {
        barrier_->put(rules);
        rules_ = rules;
    } catch (const std::system_error &error) {
        if (error.code().value() != EOPNOTSUPP && error.code().value() != ENOENT) throw;
        syslog(LOG_WARNING, "no netfilter for bridges, the filter at the ports stands alone: %s",
               error.what());
        barrier_.reset();
        return;
    }
    if (!knew || barrier_->knows_bridges()) return;
    syslog(LOG_NOTICE,
           "the kernel does not tell bridges apart (nft_meta_bridge is missing): new "
           "ports of other bridges are closed to Discovery until they are seen");
    raise_barrier();
}

// Logs a problem once, until it changes.
void Kernel::tell(const std::vector<std::string> &errors) {
    const std::string trouble = joined(errors);
    if (trouble != trouble_ && !trouble.empty()) syslog(LOG_ERR, "%s", trouble.c_str());
    trouble_ = trouble;
    if (in_order_ && !trouble.empty()) events_.wake();  // ends the watcher's long wait
    in_order_ = trouble.empty();
}

// If a pseudo device is deleted, the engine's socket goes with it: its bridge is
// held until the engine adds the bridge again. If it is set down, it drops every
// frame: it is set up again while it serves a bridge.
void Kernel::follow_pseudo(int device) {
    const auto known = pseudo_devices_.find(device);
    if (known == pseudo_devices_.end()) return;
    const Link *link = links_.find(device);
    if (!link) {
        syslog(LOG_ERR, "%s: pseudo device is gone, its bridge holds", known->second.c_str());
        hold_pseudo(device);
        pseudo_devices_.erase(known);
        return;
    }
    known->second = link->name;
    const bool serves = std::ranges::any_of(
        ports_.bridges(), [&](const BridgeState &bridge) { return bridge.pseudo == device; });
    if (link->up || !serves) return;
    syslog(LOG_ERR, "%s: pseudo device was set down, it is set up again", link->name.c_str());
    if (const int error = set_device_up(device); error != 0 && error != ENODEV)
        throw std::system_error(error, std::system_category(), link->name);
}

void Kernel::check_pseudo_devices(bool verify) {
    std::vector<int> devices;
    for (const auto &[device, name] : pseudo_devices_) devices.push_back(device);
    for (const int device : devices) {
        follow_pseudo(device);
        if (verify && pseudo_devices_.contains(device) &&
            !filter_.attached(Hook::pseudo_out, device))
            filter_.attach(Hook::pseudo_out, device, pseudo_devices_.at(device));
    }
}

void Kernel::look_at_all() {
    links_.replace(list_links());
    auto errors = ports_.update_all(true);
    check_pseudo_devices(true);
    raise_barrier();
    tell(errors);
}

void Kernel::apply_notices(const LinkEvents::Change &change, std::vector<std::string> &errors) {
    const auto attempt = [&](auto act) {
        try {
            act();
        } catch (const std::system_error &error) {
            if (error.code().value() != ENODEV) errors.emplace_back(error.what());
        }
    };
    for (const LinkNotice &notice : change.links) {
        links_.apply(notice);
        attempt([&] { ports_.update(notice.link.index); });
        attempt([&] { follow_pseudo(notice.link.index); });
    }
    for (const int device : std::set(change.filters.begin(), change.filters.end())) {
        attempt([&] { ports_.verify(device); });
        const auto pseudo = pseudo_devices_.find(device);
        if (pseudo == pseudo_devices_.end()) continue;
        attempt([&] {
            if (!filter_.attached(Hook::pseudo_out, device))
                filter_.attach(Hook::pseudo_out, device, pseudo->second);
        });
    }
    if (barrier_ && !barrier_->knows_bridges() && !change.links.empty())
        attempt([&] { raise_barrier(); });
}

// Reads and applies the waiting notices. The caller holds the lock.
void Kernel::process_notices() {
    const LinkEvents::Change change = events_.take();
    if (change.lost) return look_at_all();
    if (change.links.empty() && change.filters.empty()) return;
    std::vector<std::string> errors;
    apply_notices(change, errors);
    if (in_order_ || !errors.empty()) tell(errors);  // only the check of everything clears an error
}

// A failure, for example without memory, is tried again: there may be no other
// notice.
void Kernel::watch() {
    using namespace std::chrono_literals;
    bool in_order = true;
    while (events_.wait(in_order ? std::nullopt : std::optional(1000ms))) {
        const std::lock_guard guard(lock_);
        try {
            if (in_order_)
                process_notices();
            else
                look_at_all();
        } catch (const std::exception &error) {
            tell({std::string("bridge ports: ") + error.what()});
        }
        in_order = in_order_;
    }
}

}  // namespace ia::node
