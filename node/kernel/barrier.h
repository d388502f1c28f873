// The second barrier: netfilter rules that drop every Discovery frame that would
// enter a described bridge past the filter, whatever its ports are.
//
// No Discovery frame crosses a described bridge itself: the filter takes it off the
// port before the bridge sees it, and sends the engine's frame directly to the
// output port. The rules stay however the process ends.
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
        std::set<std::uint16_t> tag_types;   // EtherTypes of VLAN tags, which the rules look behind
        std::set<std::uint32_t> open_ports;  // of the machine's other bridges
        bool operator==(const Rules &) const = default;
    };

    Barrier();

    // Whether this kernel can match a bridge by name (module nft_meta_bridge). If
    // not, the rules close every bridge port except the open ones; only then the
    // open ports matter.
    bool knows_bridges() const { return knows_bridges_; }

    // Replaces all rules in one transaction, without a gap. No bridges: no rules.
    void put(const Rules &rules);

    // Whether the table exists: others may have deleted it.
    bool stands();

    // Removes the rules. Returns whether there were any.
    bool remove();

private:
    int send(const Rules &rules);

    Netlink kernel_;
    bool knows_bridges_ = true;
};

}  // namespace ia::node
