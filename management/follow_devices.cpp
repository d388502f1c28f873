// Device tracking of the management process: a port joins and leaves with its
// device.
#include "client/request.h"
#include "management/description_changes.h"
#include "management/management.h"
#include "management/own_changes.h"
#include "platform/bll/BLLManager.h"
#include "pppoeia/node.h"

#include <syslog.h>
#include <algorithm>
#include <cerrno>

namespace ia {

namespace {

constexpr std::chrono::seconds next_look{1};

void end_hold(const std::string &bridge, std::uint32_t port) {
    if (release_frames(bridge.c_str(), port) != 0) OwnChanges::current()->fail();
}

}  // namespace

void Management::follow_devices() {
    devices_task_.at(loop_.now() + next_look);  // unless this pass succeeds
    look_task_.ask();
    const std::set<std::string> there = seams_.devices();
    if (there != devices_) {
        const node::Description before = present();
        devices_ = there;
        announced_ = false;
        for (const std::string &change : describe_changes(before, present()))
            syslog(LOG_NOTICE, "%s", change.c_str());
    }
    if (!announced_) announced_ = announce();
    if (!announced_) return;
    // A new engine may answer before the service watch reports it; that report
    // configures everything again.
    if (link_.state() == EngineLink::State::in_force && !bridges_are_served()) make_anew();
    devices_task_.cancel();
}

// Also true if the engine is unreachable; the service watch handles that.
bool Management::bridges_are_served() const {
    return std::ranges::all_of(description_.bridges, [&](const node::Bridge &bridge) {
        if (!devices_.contains(bridge.device)) return true;
        const int result = check_bridge(bridge.name.c_str());
        return result != -ENODEV && result != -EMSGSIZE;
    });
}

// Keeps the settings of leaving objects for their return.
bool Management::announce() {
    const BLLManager::exclusiveLock_t alone;
    if (!alone.owns_lock()) return false;
    if (!started_) return true;  // the start announces everything
    const bool made = run_changes([this] {
        const bool bound = bindings_.tell(description_, false);
        refused_ = !framework_.apply(present());  // until the next announcement
        return bindings_.end_others(description_) && bound;
    });
    if (!made) configure_task_.ask();
    return true;
}

void Management::arrive(const node::Arrivals &arrivals) {
    settings_.arrived(arrivals);
    for (const std::string &bridge : arrivals.bridges) end_hold(bridge, 0);
    for (const auto &[bridge, port] : arrivals.ports)
        if (!arrivals.bridges.contains(bridge)) end_hold(bridge, port);
}

// An interface with children exists as described, whatever its own device.
node::Description Management::present() const {
    std::set<std::uint32_t> parents;
    for (const node::Interface &interface : description_.interfaces)
        parents.insert(interface.parent);
    node::Description present = description_;
    std::erase_if(present.interfaces, [&](const node::Interface &interface) {
        return follows_device(interface) && !parents.contains(interface.id) &&
               !devices_.contains(interface.device);
    });
    return present;
}

}  // namespace ia
