// A bridge "br0" with a port of every kind, processing a frame.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/scripted_node.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ia::test {

enum port_id : std::uint32_t {
    NEVER_USED = 0,
    UPLINK = 1,
    DSL = 2,
    PVC = 3,        // on DSL, 8/35
    PVC_UNSET = 4,  // on DSL
    ONU = 5,
    GEM = 6,              // on ONU
    GEM_NO_PARENT = 7,    // parent id 0
    GEM_GONE_PARENT = 8,  // on DELETED
    DELETED = 9,
    MANAGEMENT = 10,
    BARE = 11,          // present, and nothing else
    GEM_LOST = 12,      // on NO_SUCH_PORT
    LAST_SLOT = 13,     // can never be used
    NO_SUCH_PORT = 77,  // past the table
};

void fill(pppoeia_bridge &bridge);

// The engine has read a frame from 02:00:5E:10:00:01. The VLAN fields are given
// whole, priority bits and all.
void receive_frame(pppoeia_bridge &bridge, std::uint16_t vlan, std::uint16_t cvlan);

// Its board, addresses and MAC address, as they usually are.
void know_the_platform();

// Everything is traced; platform and test data are afresh.
class IdTest : public testing::Test {
protected:
    IdTest();

    LogLevel level_{7};
};

// "01 AB" for the bytes 0x01 0xAB.
std::string hex_dump(const std::vector<std::uint8_t> &bytes);

// The message, if not empty, was traced.
testing::AssertionResult was_traced(std::string_view message);

}  // namespace ia::test
