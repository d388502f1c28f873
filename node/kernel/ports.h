// The ports of the described bridges: the devices that carry the filter, and the
// filter's data about each.
#pragma once

#include "node/description/description.h"
#include "node/kernel/filter.h"
#include "node/kernel/limits.h"
#include "node/kernel/links.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ia::node {

// One described bridge. Its number does not change while the description names it,
// so the number in frames under way stays valid.
struct BridgeState {
    Bridge description;
    std::uint32_t number = 0;
    int device = 0;           // of the Linux bridge, 0 while there is none
    int mtu = 0;              // the device's
    int pseudo = 0;           // destination of its frames, 0: held
    int holder = -1;          // the control handle that attached it
    int attached_mtu = 0;     // the pseudo device's MTU at that time
    std::uint32_t epoch = 0;  // of frames that may pass, since the last hold
    // Its ports by role: used slots, with the device's interface index.
    std::array<std::map<std::uint32_t, int>, FILTER_ROLES> slots;

    // The largest frame that passes: a full frame of the bridge device with three
    // tags, or the description's limit.
    std::uint32_t frame_max() const;

    // A packet socket sends up to the MTU plus an Ethernet header.
    int pseudo_mtu() const;
};

// The number of addresses that each port of a role may learn, for this many ports.
// It changes in steps, since every change moves cells between ports.
constexpr std::uint32_t station_share(std::uint32_t role, std::uint32_t ports) {
    constexpr std::uint32_t step = 8, share_max = 1024;
    const std::uint32_t cells = role == FILTER_NETWORK ? FILTER_NETWORK_STATIONS
                                                       : FILTER_STATIONS - FILTER_NETWORK_STATIONS;
    return std::min(cells / ((std::max(ports, 1U) + step - 1) / step * step), share_max);
}

// The lowest number not in a set, or not a key of a map.
template <class Used>
std::uint32_t lowest_free(const Used &used) {
    std::uint32_t free = 0;
    while (used.contains(free)) ++free;
    return free;
}

// The Linux bridge.
const std::string &device_of(const Bridge &bridge);

struct PortStatus {
    std::string device;
    bool held = true;  // not described, or no forwarding port of its bridge
    std::string bridge;
    std::uint32_t id = 0;
    bool network = false;
};

// Not locked: the owner calls from one thread at a time.
class Ports {
public:
    // `links` belongs to the owner, who reports every change of it.
    Ports(Filter &filter, const Links &links) : filter_(filter), links_(links) {}

    // Takes over the bridges, and the devices that carry the filter before they
    // join one; none is a port yet. Throws std::runtime_error, with nothing
    // changed, when the filter cannot serve the description.
    void describe(const Description &description);

    // Sets the limits of a description for present and future bridges and ports.
    // Forgets the servers that were allowed because they were the first. Throws
    // std::system_error when the filter could not be set.
    void limit(const Description &description);

    // Updates the filter to the present devices: every member of a described bridge
    // carries it, and so does every described device that is to join one. `verify`
    // also checks that it is still installed. Returns the errors, a line for each
    // device.
    std::vector<std::string> update_all(bool verify);

    // The same for one device that came, changed or went, and for the devices that
    // depend on it; for a bridge, all of them. Throws std::system_error.
    void update(int device);
    void verify(int device);

    // Adds a bridge or changes its values. Throws std::system_error: EINVAL for
    // values that the filter cannot serve, ENOSPC for one bridge too many.
    void describe(const Bridge &bridge);
    void forget(const std::string &bridge);

    // Binds a device to a bridge's port, or ends the binding. Earlier bindings of
    // either end, and their frames are held. Throws std::system_error when the
    // filter could not be set; the affected frames are then held.
    void bind(const std::string &bridge, std::uint32_t port, const std::string &device,
              std::uint32_t role);
    void unbind(const std::string &bridge, std::uint32_t port);

    bool carries(int device) const { return ports_.contains(device); }

    BridgeState *find(const std::string &name);
    std::vector<BridgeState> &bridges() { return bridges_; }

    // Sets the pseudo device that receives a bridge's frames; 0 holds them.
    void set_pseudo(BridgeState &bridge, int pseudo);

    // Holds the frames of a port, or of the whole bridge for port 0, until they are
    // released; releasing port 0 releases all. Neither need exist. Throws
    // std::system_error when the filter could not be set: a hold then stays wanted,
    // a release does not take place.
    void hold(const std::string &bridge, std::uint32_t port, bool on);

    std::vector<PortStatus> status() const;

    // The counts of a port's frames since it was bound; zeros if it is not bound.
    frame_counts counts(const std::string &bridge, std::uint32_t port) const;
    void clear_counts(const std::string &bridge, std::uint32_t port);

private:
    struct Port {
        std::string name;
        bool in_place = false;             // both programs are installed
        bool with_qdisc = false;           // the qdisc is removed with them
        bool taken_over = false;           // the programs replaced those of an earlier run
        std::optional<filter_port> known;  // the filter's record of it
        bool told = false;                 // the filter has all of it
    };
    struct Binding {
        std::string bridge;
        std::uint32_t port = 0;
        std::uint32_t role = FILTER_SUBSCRIBER;
    };
    struct WantedPort {
        BridgeState *bridge = nullptr;  // null: the frames are held
        const Binding *binding = nullptr;
    };

    void count_from_zero(const std::string &device);
    const Link *link_of(const std::string &bridge, std::uint32_t port) const;
    std::vector<std::string> devices_of(const std::string &bridge, std::uint32_t port) const;
    void update(const std::string &device);
    bool is_held(const std::string &bridge, std::uint32_t port) const;
    std::optional<WantedPort> wanted_port(const Link &link);
    void add_bridge(const Bridge &bridge);
    bool is_agent_bridge(const Link &link) const;
    void locate_bridges();
    void drop(int device);
    void drop_unwanted();
    void store_bridge(std::uint32_t number);
    void install_filter(const Link &link, bool verify);
    void publish(int device, Port &port, const WantedPort &wanted);
    void limit(int device, Port &port, const BridgeState &bridge);
    void withdraw(int device, Port &port);
    void withdraw_bridge(BridgeState &bridge);
    std::uint32_t take_place(std::uint32_t role);
    void store_bridge(BridgeState &bridge);

    Filter &filter_;
    const Links &links_;
    std::vector<BridgeState> bridges_;
    Policies policies_;
    std::map<std::string, Binding> bindings_;  // by device
    std::set<std::string> awaited_;            // devices that carry the filter before they join
    std::map<int, Port> ports_;                // by interface index
    std::map<std::string, std::set<std::uint32_t>> holds_;      // by bridge; port 0: all of it
    std::array<std::set<std::uint32_t>, FILTER_ROLES> places_;  // used places, over all bridges
    std::array<std::uint32_t, FILTER_ROLES> most_{};  // the highest number of ports so far, by role
    std::uint32_t epochs_ = 0;                        // used so far
};

}  // namespace ia::node
