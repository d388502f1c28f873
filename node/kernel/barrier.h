// The second line: netfilter rules that let no Discovery frame into a described
// bridge past the filter, whatever hangs at its ports.
//
// Nothing of Discovery crosses a described bridge itself: the filter takes every
// frame off a port before the bridge sees it, and sends the engine's straight to
// the output port. The rules stay when the process ends, however it ends.
#pragma once

#include "node/kernel/netlink.h"

#include <cstdint>
#include <set>
#include <string>

namespace ia::node {

// Table "pppoeia" of the bridge family. One thread at a time; errors are
// std::system_error.
class Barrier {
public:
    struct Rules {
        std::set<std::string> bridges;       // Linux bridges that are closed to Discovery
        std::set<std::uint16_t> tag_types;   // EtherTypes looked behind
        std::set<std::uint32_t> open_ports;  // of the machine's other bridges
        bool operator==(const Rules &) const = default;
    };

    Barrier();

    // Whether the kernel tells bridges apart here (its module nft_meta_bridge).
    // Where it does not, every bridge port that is not among the open ones is
    // closed, and only there the open ports count.
    bool knows_bridges() const { return knows_bridges_; }

    // Replaces all rules in one step; nothing is open meanwhile. Without bridges
    // there are none.
    void put(const Rules &rules);

    // Whether the table is there: others may have taken it away.
    bool stands();

    // Takes the rules away. Whether there were any.
    bool remove();

private:
    int send(const Rules &rules);

    Netlink kernel_;
    bool knows_bridges_ = true;
};

}  // namespace ia::node
