// The machine's network devices, as reported by netlink.
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
    bool up = false;          // administratively up
    bool forwarding = false;  // as a bridge port: not blocked, not without carrier

    bool is_bridge() const { return kind == "bridge"; }
    bool is_tap() const { return kind == "tun" && ethernet; }
};

// A change of one device.
struct LinkNotice {
    enum class What {
        changed,       // or new: `link` is complete
        gone,          // only the index is valid
        port_changed,  // only the index and `forwarding` are valid
    };
    What what = What::changed;
    Link link;
};

// All devices of the network namespace. Throws std::system_error.
std::vector<Link> list_links();

// Null when no device has that name.
const Link *find_link(const std::vector<Link> &links, const std::string &name);

// The device list, kept up to date by notices. One thread at a time.
class Links {
public:
    void replace(const std::vector<Link> &links);

    // Null for a notice of an unknown device.
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

// Notices of changed devices and filters. Subscribes at construction, so that a
// list made afterwards misses no change.
class LinkEvents {
public:
    LinkEvents();
    ~LinkEvents();
    LinkEvents(const LinkEvents &) = delete;
    LinkEvents &operator=(const LinkEvents &) = delete;

    struct Change {
        bool lost = false;              // the kernel dropped notices: list again
        std::vector<LinkNotice> links;  // in their order
        std::vector<int> filters;       // devices whose filters another process has changed
    };
    // Waits for notices or wake(), up to the limit. False after stop().
    bool wait(std::optional<std::chrono::milliseconds> limit = std::nullopt);

    // Reads the waiting notices.
    Change take();

    int descriptor() const { return notices_.get(); }  // readable when notices wait

    void wake();  // from any thread
    void stop();  // from any thread

private:
    Descriptor notices_;
    Descriptor wake_;
    Descriptor stop_;
};

}  // namespace ia::node
