// The ports of the described bridges: which devices carry the filter, and what
// the filter knows of each.
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

// One described bridge. Its number stays the same while the description names
// it, so frames on their way keep their meaning.
struct BridgeState {
    Bridge description;
    std::uint32_t number = 0;
    int device = 0;           // of the Linux bridge, 0 while there is none
    int mtu = 0;              // the device's
    int pseudo = 0;           // where its frames go, 0 while they are held
    int holder = -1;          // the control handle that attached it
    int attached_mtu = 0;     // the pseudo device's, since then
    std::uint32_t epoch = 0;  // of the frames that pass, from the last hold on
    // Of its ports by role: slots in use, with the device's interface index.
    std::array<std::map<std::uint32_t, int>, FILTER_ROLES> slots;

    // Largest frame that passes: a full one of the bridge device behind three tags,
    // or what the description allows.
    std::uint32_t frame_max() const;

    // A packet socket sends as much as the MTU and an Ethernet header.
    int pseudo_mtu() const;
};

// How many learnt addresses a port of a role has room for where there are so many
// of them. In steps, as each change moves cells from one port to another.
constexpr std::uint32_t station_share(std::uint32_t role, std::uint32_t ports) {
    constexpr std::uint32_t step = 8, share_max = 1024;
    const std::uint32_t cells = role == FILTER_NETWORK ? FILTER_NETWORK_STATIONS
                                                       : FILTER_STATIONS - FILTER_NETWORK_STATIONS;
    return std::min(cells / ((std::max(ports, 1U) + step - 1) / step * step), share_max);
}

// Of a set of numbers, or a map from them.
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
    // The devices are the owner's, who tells of every change.
    Ports(Filter &filter, const Links &links) : filter_(filter), links_(links) {}

    // The bridges, and the devices that carry the filter before they join one, of
    // which none is a port yet. Throws std::runtime_error, with nothing changed,
    // when the filter cannot serve it.
    void describe(const Description &description);

    // The limits of a description, for the bridges and ports that there are and those that
    // come. Servers that were allowed for being the first are forgotten. Throws
    // std::system_error when the filter could not be told.
    void limit(const Description &description);

    // Brings the filter into line with the devices there are: every member of a
    // described bridge carries it, and every described device that waits to
    // join one. `verify` also looks whether it is still in place. Returns what
    // went wrong, a line for each device.
    std::vector<std::string> follow_all(bool verify);

    // The same for one device that came, changed or went, and for what hangs on
    // it; for all of them when it is a bridge. Throws std::system_error.
    void follow(int device);
    void verify(int device);

    // A bridge, added or with other values. Throws std::system_error: EINVAL for
    // values that the filter cannot serve, ENOSPC for one too many.
    void describe(const Bridge &bridge);
    void forget(const std::string &bridge);

    // The device that is a bridge's port, and the port that has none any more.
    // What either was bound to before ends, and is held. Throws std::system_error
    // when the filter could not be told: what it was not told is held.
    void bind(const std::string &bridge, std::uint32_t port, const std::string &device,
              std::uint32_t role);
    void unbind(const std::string &bridge, std::uint32_t port);

    bool carries(int device) const { return ports_.contains(device); }

    BridgeState *find(const std::string &name);
    std::vector<BridgeState> &bridges() { return bridges_; }

    // Where a bridge's frames go from now on; 0 holds them.
    void direct(BridgeState &bridge, int pseudo);

    // Holds the frames of a bridge's port, of the whole bridge for port 0, until
    // they are released; releasing port 0 releases all. Neither need be there.
    // Throws std::system_error when the filter could not be told: a hold is then
    // wanted all the same, and a release is not.
    void hold(const std::string &bridge, std::uint32_t port, bool on);

    std::vector<PortStatus> status() const;

    // What became of a port's frames since it was bound; zeros when it is not.
    frame_counts counts(const std::string &bridge, std::uint32_t port) const;
    void clear_counts(const std::string &bridge, std::uint32_t port);

private:
    struct Port {
        std::string name;
        bool in_place = false;             // both programs hang there
        bool with_qdisc = false;           // which goes with them
        bool taken_over = false;           // an earlier run had hung there
        std::optional<filter_port> known;  // what the filter was told
        bool told = false;                 // all of it
    };
    struct Binding {
        std::string bridge;
        std::uint32_t port = 0;
        std::uint32_t role = FILTER_SUBSCRIBER;
    };
    struct Wish {
        BridgeState *bridge = nullptr;  // null: the frames are held
        const Binding *binding = nullptr;
    };

    void count_from_zero(const std::string &device);
    const Link *link_of(const std::string &bridge, std::uint32_t port) const;
    std::vector<std::string> devices_of(const std::string &bridge, std::uint32_t port) const;
    void follow(const std::string &device);
    bool is_held(const std::string &bridge, std::uint32_t port) const;
    std::optional<Wish> wish(const Link &link);
    void add_bridge(const Bridge &bridge);
    bool is_agent_bridge(const Link &link) const;
    void locate_bridges();
    void drop(int device);
    void drop_unwanted();
    void store_bridge(std::uint32_t number);
    void secure(const Link &link, bool verify);
    void publish(int device, Port &port, const Wish &wanted);
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
    std::set<std::string> awaited_;            // devices that carry it before they join
    std::map<int, Port> ports_;                // by interface index
    std::map<std::string, std::set<std::uint32_t>> holds_;      // by bridge; port 0: all of it
    std::array<std::set<std::uint32_t>, FILTER_ROLES> places_;  // in use, over all bridges
    std::array<std::uint32_t, FILTER_ROLES> most_{};            // there have been of each
    std::uint32_t epochs_ = 0;                                  // given out so far
};

}  // namespace ia::node
