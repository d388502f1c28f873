// The machine's network devices, as the kernel tells of them over netlink.
#pragma once

#include "node/descriptor.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace ia::node {

struct Link {
    int index = 0;
    int mtu = 0;
    int master = 0;  // index of the bridge (or other master) it belongs to, 0 without one
    std::string name;
    std::string kind;  // "bridge", "tun", "veth"; empty for hardware
    bool ethernet = false;
    bool forwarding = false;  // as a bridge port: not blocked, not without carrier

    bool is_bridge() const { return kind == "bridge"; }
    bool is_tap() const { return kind == "tun" && ethernet; }
};

// All devices of the network namespace. Throws std::system_error.
std::vector<Link> list_links();

// Null when there is none of that name (index).
const Link *find_link(const std::vector<Link> &links, const std::string &name);
const Link *find_link(const std::vector<Link> &links, int index);

// Whether the clsact qdisc of a device carries any filter.
bool has_filters(int index);

// Notices of changed devices and of filters taken away. Subscribed from
// construction on, so what is listed afterwards misses nothing.
class LinkEvents {
public:
    LinkEvents();
    ~LinkEvents();
    LinkEvents(const LinkEvents &) = delete;
    LinkEvents &operator=(const LinkEvents &) = delete;

    struct Change {
        bool links = false;
        bool filters = false;
    };
    // Waits for notices, at most so long, and takes all there are. Nothing after
    // stop().
    std::optional<Change> wait(std::optional<std::chrono::milliseconds> limit = std::nullopt);

    void stop();  // from any thread

private:
    Change drain();

    Descriptor notices_;
    Descriptor stop_;
};

}  // namespace ia::node
