// A running bridge "br0" on the scripted node: port 1 "1/1/1" is a subscriber's
// (client only, untrusted), port 2 "1/1/2" faces the network. Board 3, shelf
// "s1", every VLAN enabled, maximum PDU 1500.
#pragma once

#include "pppoeia/pppoeia.h"
#include "tests/support/scripted_node.h"

#include <gtest/gtest.h>
#include <cstdio>
#include <string>

namespace ia::test {

inline constexpr char bridge[] = "br0";
inline constexpr char device[] = "br0_pppoe";

// Destination, source: a client's broadcast and the server's unicast.
inline const std::string client = "ffffffffffff 020000000001 ";
inline const std::string server = "020000000001 020000000002 ";
inline const std::string line_tag = "0105 0021 00000de9 01 19 'KORVALEN:s1 eth 3/1/1/1:0' 02 00 ";
inline const std::string other_tag = "0105 0006 00000de9 01 00 ";  // 10 bytes
inline const std::string service = "0101 0000 ";
inline const std::string end_of_list = "0000 0000 ";

inline constexpr std::uint32_t sub = 1;
inline constexpr std::uint32_t net = 2;

inline void add_port(std::uint32_t id, const char *dev, const char *name, std::uint32_t kind,
                     std::int32_t state, std::uint32_t trust) {
    pppoeia_port_info info{};
    std::snprintf(info.intf_type, sizeof info.intf_type, "eth");
    info.intf_kind = kind;
    ASSERT_EQ(cache_pppoeia_port_add(bridge, id, dev, name, &info), 0);
    ASSERT_EQ(cache_pppoeia_port_state_set(bridge, id, state), 0);
    ASSERT_EQ(cache_pppoeia_port_trust_set(bridge, id, trust), 0);
}

class RunningBridge : public testing::Test {
protected:
    void SetUp() override {
        reset_node();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        ASSERT_EQ(fe_pppoeia_bridge_add(bridge, 8), 0);
        cache_pppoeia_bridge_max_pdu_set(bridge, 1500);
        cache_pppoeia_bridge_shelf_id_set(bridge, "s1");
        cache_pppoeia_bridge_vlan_set_all(bridge, 1);
        add_port(sub, "sub1", "1/1/1", 9, PPPOEIA_PORT_CLIENT, PPPOEIA_PORT_UNTRUSTED);
        add_port(net, "net0", "1/1/2", 1, PPPOEIA_PORT_BOTH, PPPOEIA_PORT_TRUSTED);
    }
    void TearDown() override { fe_pppoeia_fini(); }

    // A PADT of the network side passes whatever is set: what comes out before
    // it is all that the frame in front of it gave.
    Bytes exchange(const Bytes &sent) {
        const Bytes sentinel = datagram({.port = net, .in = "net0", .out = "sub1"},
                                        hex(server + "8863 11a7 0001 0000"));
        send_to(device, sent);
        send_to(device, sentinel);
        Bytes first = receive_from(device);
        if (first == sentinel) return {};
        EXPECT_EQ(receive_from(device), sentinel);
        return first;
    }

    pppoeia_stats port_stats(std::uint32_t id) {
        pppoeia_stats stats{};
        EXPECT_EQ(fe_pppoeia_port_stats_get(bridge, id, &stats), 0);
        return stats;
    }
};

}  // namespace ia::test
