// The node as a script: the kernel modules, network devices and platform calls
// answer what the test says, without privileges. A pseudo device is one end of
// a socket pair; the test holds the other.
#pragma once

#include "platform/frame_outcomes.h"
#include "tests/support/datagrams.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace ia::test {

struct ScriptedNode {
    bool kvmng = true;  // control files that can be opened
    bool kvbridge = true;
    std::set<std::string> bridges{"br0"};
    int kvmng_version = 3;
    int kvbridge_version = 56;
    std::uint16_t stag_ethertype = 0x88A8;
    std::map<unsigned long, int> failing;  // control or device request -> errno
    bool sockets_fail = false;             // packet sockets
    int bind_result = 0;
    int mtu = 1615;
    Bytes management_mac = hex("020000000099");
    std::optional<std::uint8_t> board = 3;  // without one, the platform does not know
    std::optional<std::array<std::uint8_t, 4>> ipv4;
    std::optional<std::string> ipv6;
    std::string asked_interface;  // of the last address request

    std::set<std::string> pseudo_devices;
    std::map<std::string, std::string> filters;            // bridge -> device
    std::set<std::pair<std::string, std::uint32_t>> held;  // bridge and port
    std::map<std::string, std::string> bound;              // device to "bridge port side"
    std::map<std::string, std::string> described;   // bridge to "device stag_ethertype max_pdu"
    std::map<std::uint32_t, frame_counts> counted;  // by port
    int open_control_files = 0;
};

// The script in force; a test starts with reset_node().
ScriptedNode &node();
void reset_node();

// One more bridge, while other threads use the node.
void add_node_bridge(const std::string &name);

// How many holds there are, while the engine runs.
std::size_t held_count();

// The bridge module's side of a pseudo device. receive() waits up to two
// seconds and gives nothing after that.
void send_to(const std::string &device, const Bytes &datagram);
Bytes receive_from(const std::string &device);
bool nothing_pending(const std::string &device);

}  // namespace ia::test
