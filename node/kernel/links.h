// The machine's network devices, as the kernel tells of them over netlink.
#pragma once

#include "node/descriptor.h"

#include <chrono>
#include <map>
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
    bool up = false;          // as its user wants it
    bool forwarding = false;  // as a bridge port: not blocked, not without carrier

    bool is_bridge() const { return kind == "bridge"; }
    bool is_tap() const { return kind == "tun" && ethernet; }
};

// A change of one device.
struct LinkNotice {
    enum class What {
        changed,       // or new: `link` is whole
        gone,          // only the index counts
        port_changed,  // only the index and `forwarding` count
    };
    What what = What::changed;
    Link link;
};

// All devices of the network namespace. Throws std::system_error.
std::vector<Link> list_links();

// Null when there is none of that name.
const Link *find_link(const std::vector<Link> &links, const std::string &name);

// The devices as the notices leave them. One thread at a time.
class Links {
public:
    void replace(const std::vector<Link> &links);

    // Null when the notice is of a device that is not known.
    const Link *apply(const LinkNotice &notice);

    const Link *find(const std::string &name) const;  // null when there is none
    const Link *find(int index) const;
    const std::map<int, Link> &all() const { return links_; }

private:
    void add(const Link &link);
    void remove(int index);

    std::map<int, Link> links_;         // by interface index
    std::map<std::string, int> names_;  // to interface index
};

// Notices of changed devices and of filters. Subscribed from construction on, so
// that a list made afterwards misses nothing.
class LinkEvents {
public:
    LinkEvents();
    ~LinkEvents();
    LinkEvents(const LinkEvents &) = delete;
    LinkEvents &operator=(const LinkEvents &) = delete;

    struct Change {
        bool lost = false;              // more than the kernel could keep: list anew
        std::vector<LinkNotice> links;  // in their order
        std::vector<int> filters;       // devices whose filters others have changed
    };
    // Waits until there are notices or wake() was called, at most so long. False
    // after stop().
    bool wait(std::optional<std::chrono::milliseconds> limit = std::nullopt);

    // Takes the notices there are.
    Change take();

    int descriptor() const { return notices_.get(); }  // readable when there are notices

    void wake();  // from any thread
    void stop();  // from any thread

private:
    Descriptor notices_;
    Descriptor wake_;
    Descriptor stop_;
};

}  // namespace ia::node
