// The ports of the described bridges: which devices carry the filter, and what
// the filter knows of each.
#pragma once

#include "node/description/description.h"
#include "node/kernel/filter.h"
#include "node/kernel/links.h"

#include <array>
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
    int device = 0;        // of the Linux bridge, 0 while there is none
    int mtu = 0;           // the device's
    int pseudo = 0;        // where its frames go, 0 while they are held
    int holder = -1;       // the control handle that attached it
    int attached_mtu = 0;  // the pseudo device's, since then
    std::array<std::set<std::uint32_t>, FILTER_ROLES> slots;  // in use

    // Largest frame that passes: a full one behind three tags, or what the bridge
    // device takes or the description allows.
    std::uint32_t frame_max() const;

    // A packet socket sends as much as the MTU and an Ethernet header.
    int pseudo_mtu() const;
};

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
    explicit Ports(Filter &filter) : filter_(filter) {}

    // Takes over a description. Bridges that are no longer in it lose their
    // filter with the next reconcile(). Throws std::runtime_error, with nothing
    // changed, when the filter cannot serve it.
    void describe(const Description &description);

    // Brings the filter into line with the devices there are: every member of a
    // described bridge carries it, and every described device that waits to
    // join one. `verify` also looks whether it is still in place. Returns what
    // went wrong, a line for each device.
    std::vector<std::string> reconcile(const std::vector<Link> &links, bool verify);

    // Takes the filter off every device; but not where it was found in place
    // when only the new ones are meant: those go on holding.
    enum class Release { all, new_ones };
    void release(Release which);

    bool carries(int device) const { return ports_.contains(device); }

    BridgeState *find(const std::string &name);
    std::vector<BridgeState> &bridges() { return bridges_; }

    // Where a bridge's frames go from now on; 0 holds them.
    void direct(BridgeState &bridge, int pseudo);

    // Holds the frames of a bridge's port, of the whole bridge for port 0, until
    // they are released; releasing port 0 releases all. Neither need be there.
    void hold(const std::string &bridge, std::uint32_t port, bool on,
              const std::vector<Link> &links);

    std::vector<PortStatus> status() const;

private:
    struct Port {
        std::string name;
        bool in_place = false;             // both programs hang there
        bool with_qdisc = false;           // which goes with them
        bool taken_over = false;           // an earlier run had hung there
        std::optional<filter_port> known;  // what the filter was told
    };
    struct Wish {
        BridgeState *bridge = nullptr;  // null: the frames are held
        const Interface *interface = nullptr;
    };

    bool is_held(const std::string &bridge, std::uint32_t port) const;
    std::optional<Wish> wish(const Link &link);
    void locate_bridges(const std::vector<Link> &links);
    void drop_unwanted(const std::vector<Link> &links);
    void secure(const Link &link, bool verify);
    void publish(int device, Port &port, const Wish &wanted);
    void withdraw(int device, Port &port);
    void withdraw_bridge(BridgeState &bridge);
    void store_bridge(const BridgeState &bridge);

    Filter &filter_;
    std::vector<BridgeState> bridges_;
    std::map<std::string, Interface> interfaces_;           // by device
    std::map<int, Port> ports_;                             // by interface index
    std::map<std::string, std::set<std::uint32_t>> holds_;  // by bridge; port 0: all of it
};

}  // namespace ia::node
