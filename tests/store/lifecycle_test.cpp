// The store's own life, and factory defaults.
#include "store/bridge_list.h"
#include "tests/store/store_fixture.h"
#include "tests/support/failing_memory.h"

using namespace ia::test;

namespace {

TEST(StoreLife, NeedsItsStart) {
    ia::bridge_list_release();
    EXPECT_EQ(pppoeia_cache_on_bridge_add("br0", 4), -6);
    EXPECT_EQ(pppoeia_cache_on_bridge_del("br0"), -6);
    ASSERT_EQ(pppoeia_cache_init(), 0);
    EXPECT_EQ(pppoeia_cache_on_bridge_del("br0"), -2);
    EXPECT_EQ(pppoeia_cache_on_bridge_add("01234567890", 4), -22);
    EXPECT_EQ(pppoeia_cache_on_bridge_add("br0", 0xFFFFFFFF), -12);
    with_each_allocation_failing([] { return pppoeia_cache_on_bridge_add("br0", 4); },
                                 [](std::size_t nth, int result) {
                                     EXPECT_EQ(result, -12) << nth;
                                     EXPECT_EQ(pppoeia_cache_on_bridge_del("br0"), -2) << nth;
                                 });
    EXPECT_EQ(pppoeia_cache_on_bridge_add("br0", 4), -19);
    EXPECT_EQ(pppoeia_cache_on_bridge_del("br0"), 0);
    EXPECT_EQ(pppoeia_cache_on_bridge_add("br0", 4), 0);
    ASSERT_EQ(pppoeia_cache_init(), 0);  // starts empty
    EXPECT_EQ(pppoeia_cache_on_bridge_del("br0"), -2);
}

TEST(StoreLife, AHolderKeepsADeletedBridge) {
    ASSERT_EQ(pppoeia_cache_init(), 0);
    ASSERT_EQ(pppoeia_cache_on_bridge_add("br0", 4), 0);
    const ia::LockedBridge held("br0");
    ASSERT_EQ(pppoeia_cache_on_bridge_del("br0"), 0);
    EXPECT_STREQ(held->vendor, "KORVALEN");
}

using Defaults = Store;

TEST_F(Defaults, RestoreBridgeAndPorts) {
    cache_pppoeia_bridge_vendor_set(bridge, "OTHER");
    cache_pppoeia_bridge_vsa_mode_set(bridge, 0);
    cache_pppoeia_bridge_vlan_set(bridge, 3000, 1);
    cache_pppoeia_circuit_id_format_set(bridge, "$PORT");
    cache_pppoeia_vlan_add(bridge, 3000);
    for (const std::uint32_t id : {1U, 3U}) {
        cache_pppoeia_port_state_set(bridge, id, 1);
        cache_pppoeia_port_remote_id_set(bridge, id, "line");
        cache_pppoeia_port_vlan_add(bridge, id, 3000);
    }
    cache_pppoeia_port_del(bridge, 2);

    ASSERT_EQ(cache_pppoeia_apply_default_settings(bridge), 0);
    EXPECT_EQ(number(cache_pppoeia_bridge_state_get), 0U);
    EXPECT_EQ(number(cache_pppoeia_bridge_chassis_id_get), 99U);
    EXPECT_EQ(number(cache_pppoeia_bridge_vsa_mode_get), 1U);
    EXPECT_EQ(text(cache_pppoeia_circuit_id_format_get), "");
    EXPECT_EQ(text(cache_pppoeia_remote_id_format_get), "$PORT_REM_ID");
    EXPECT_EQ(text(cache_pppoeia_bridge_vendor_get), "OTHER");
    EXPECT_EQ(pppoeia_log_level, 3);
    const ia::LockedBridge b(bridge);
    EXPECT_TRUE(b->vlan_enabled.none());
    EXPECT_TRUE(b->vlans.empty());
    EXPECT_EQ(b->ports[0].state, 0U);
    EXPECT_EQ(b->ports[0].trust, 1U);
    EXPECT_EQ(b->ports[2].state, 3U);  // faces the network
    EXPECT_EQ(b->ports[2].trust, 0U);
    for (const int slot : {0, 2}) {
        EXPECT_STREQ(b->ports[static_cast<std::size_t>(slot)].remote_id, "");
        EXPECT_TRUE(b->ports[static_cast<std::size_t>(slot)].port_vlans.empty());
    }
}

TEST_F(Defaults, NeedABridge) {
    EXPECT_EQ(cache_pppoeia_apply_default_settings("br9"), -2);
}

TEST_F(Defaults, KindsOneAndFiveFaceTheNetwork) {
    for (std::uint32_t kind = 0; kind < 10; ++kind) {
        pppoeia_port p;
        p.intf_kind = kind;
        EXPECT_EQ(p.faces_network(), kind == 1 || kind == 5) << kind;
    }
}

}  // namespace
