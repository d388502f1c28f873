// Bridge-wide settings and ports: limits, refusals, and what stays as it was.
#include "store/bridge_list.h"
#include "tests/store/store_fixture.h"

using namespace ia::test;

namespace {

using Settings = Store;

TEST_F(Settings, TextsHaveTheirLimits) {
    struct Limit {
        const char *name;
        int (*set)(const char *, const char *);
        int (*get)(const char *, char *);
        std::size_t longest;
        int refusal;
    };
    const Limit limits[] = {
        {"vendor", cache_pppoeia_bridge_vendor_set, cache_pppoeia_bridge_vendor_get, 19, -12},
        {"shelf", cache_pppoeia_bridge_shelf_id_set, cache_pppoeia_bridge_shelf_id_get, 39, -28},
        {"cid format", cache_pppoeia_circuit_id_format_set, cache_pppoeia_circuit_id_format_get,
         128, -28},
        {"rid format", cache_pppoeia_remote_id_format_set, cache_pppoeia_remote_id_format_get, 128,
         -28},
        {"port 1 remote id",
         [](const char *b, const char *t) { return cache_pppoeia_port_remote_id_set(b, 1, t); },
         [](const char *b, char *o) { return cache_pppoeia_port_remote_id_get(b, 1, o); }, 63, -28},
        {"port-VLAN cid format",
         [](const char *b, const char *t) {
             return cache_pppoeia_circuit_id_format_port_vlan_set(b, 1, 9, t);
         },
         [](const char *b, char *o) {
             return cache_pppoeia_circuit_id_format_port_vlan_get(b, 1, 9, o);
         },
         127, -28},
        {"port-VLAN rid format",
         [](const char *b, const char *t) {
             return cache_pppoeia_remote_id_format_port_vlan_set(b, 1, 9, t);
         },
         [](const char *b, char *o) {
             return cache_pppoeia_remote_id_format_port_vlan_get(b, 1, 9, o);
         },
         127, -28},
    };
    for (const Limit &limit : limits) {
        SCOPED_TRACE(limit.name);
        const std::string longest(limit.longest, 'x');
        EXPECT_EQ(limit.set(bridge, longest.c_str()), 0);
        EXPECT_EQ(limit.set(bridge, (longest + "y").c_str()), limit.refusal);
        EXPECT_EQ(text(limit.get), longest);
        EXPECT_EQ(limit.set("br9", "x"), -2);
    }
}

TEST_F(Settings, NumbersStartAtTheirDefaults) {
    EXPECT_EQ(number(cache_pppoeia_bridge_state_get), 1U);
    EXPECT_EQ(number(cache_pppoeia_bridge_chassis_id_get), 0U);
    EXPECT_EQ(number(cache_pppoeia_bridge_vsa_mode_get), 1U);
    EXPECT_EQ(number(cache_pppoeia_bridge_vsa_insert_circuit_id_get), 1U);
    EXPECT_EQ(number(cache_pppoeia_bridge_vsa_insert_remote_id_get), 1U);
    EXPECT_EQ(number(cache_pppoeia_bridge_vsa_circuit_id_cvlan_get), 0U);
    EXPECT_EQ(number(cache_pppoeia_bridge_max_pdu_get), 1500U);
    EXPECT_EQ(text(cache_pppoeia_bridge_vendor_get), "KORVALEN");
    EXPECT_EQ(ia::LockedBridge(bridge)->board_pos, 3U);
}

TEST_F(Settings, AnyStateButZeroEnables) {
    ASSERT_EQ(cache_pppoeia_bridge_state_set(bridge, 5), 0);
    EXPECT_EQ(number(cache_pppoeia_bridge_state_get), 1U);
    ASSERT_EQ(cache_pppoeia_bridge_state_set(bridge, 0), 0);
    EXPECT_EQ(number(cache_pppoeia_bridge_state_get), 0U);
}

TEST_F(Settings, TheMaximumPduIsAtMostTheMtu) {
    EXPECT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, 1500), 0);
    EXPECT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, 1501), -22);
    EXPECT_EQ(number(cache_pppoeia_bridge_max_pdu_get), 1500U);
    EXPECT_EQ(cache_pppoeia_bridge_max_pdu_get("br9", nullptr), -22);
}

TEST_F(Settings, TheLogLevelIsTheProcesss) {
    std::int32_t level = 0;
    std::uint32_t on = 9;
    cache_pppoeia_log_level_set(-2);
    EXPECT_EQ(cache_pppoeia_log_level_get(&level), 0);
    EXPECT_EQ(level, 3);
    cache_pppoeia_bridge_debug_set("any", 0);
    cache_pppoeia_log_level_get(&level);
    EXPECT_EQ(level, -1);
    cache_pppoeia_bridge_debug_get("any", &on);
    EXPECT_EQ(on, 0U);
    cache_pppoeia_bridge_debug_set("any", 2);
    cache_pppoeia_log_level_get(&level);
    EXPECT_EQ(level, 7);
    EXPECT_EQ(cache_pppoeia_log_level_get(nullptr), -22);
    cache_pppoeia_debug_admin_state_set(0x100);
    cache_pppoeia_debug_admin_state_get(&on);
    EXPECT_EQ(on, 1U);
    EXPECT_EQ(cache_pppoeia_debug_admin_state_get(nullptr), -22);
}

TEST_F(Settings, VlansAreEnabledForTheBridgeAndItsPorts) {
    ia::LockedBridge(bridge)->ports[4].vlan_member.reset();
    EXPECT_EQ(cache_pppoeia_bridge_vlan_set(bridge, 4095, 1), 0);
    EXPECT_EQ(number(cache_pppoeia_bridge_vlan_get, std::uint16_t{0xFFFF}), 1U);
    EXPECT_TRUE(ia::LockedBridge(bridge)->ports[4].vlan_member.test(4095));  // a free slot too
    EXPECT_EQ(cache_pppoeia_bridge_vlan_set(bridge, 4095, 0), 0);
    EXPECT_EQ(number(cache_pppoeia_bridge_vlan_get, std::uint16_t{4095}), 0U);
    EXPECT_TRUE(ia::LockedBridge(bridge)->ports[4].vlan_member.test(4095));
    EXPECT_EQ(cache_pppoeia_bridge_vlan_set(bridge, 4096, 1), -22);
    ASSERT_EQ(cache_pppoeia_bridge_vlan_set_all(bridge, 1), 0);
    EXPECT_TRUE(ia::LockedBridge(bridge)->vlan_enabled.all());
    ASSERT_EQ(cache_pppoeia_bridge_vlan_set_all(bridge, 0), 0);
    EXPECT_TRUE(ia::LockedBridge(bridge)->vlan_enabled.none());
}

TEST_F(Settings, PortsAreAddedOnce) {
    pppoeia_port_info other{};
    EXPECT_EQ(cache_pppoeia_port_add(bridge, 1, "elsewhere", "x", &other), 0);
    EXPECT_STREQ(ia::LockedBridge(bridge)->ports[0].dev_name, "sub1");
    EXPECT_EQ(cache_pppoeia_port_add(bridge, 0, "x", "x", &other), -22);
    EXPECT_EQ(cache_pppoeia_port_add(bridge, 7, "last", "x", &other), 0);
    clear_syslog();
    EXPECT_EQ(cache_pppoeia_port_add(bridge, 8, "beyond", "x", &other), -28);
    EXPECT_EQ(traces(), std::vector<std::string>{"<br0> Unable to add port 'beyond' (-28)."});
}

TEST_F(Settings, NamesAreCutToTheirFields) {
    pppoeia_port_info info{};
    std::memcpy(info.intf_type, "twelve-chars", 12);  // no terminator
    ASSERT_EQ(cache_pppoeia_port_add(bridge, 4, "0123456789abcdefg", "0123456789abcdef", &info), 0);
    const ia::LockedBridge b(bridge);
    EXPECT_STREQ(b->ports[3].dev_name, "0123456789abcdef");
    EXPECT_STREQ(b->ports[3].port_name, "0123456789abcd");
    EXPECT_STREQ(b->ports[3].intf_type, "twelve-ch");
    EXPECT_EQ(b->ports[3].vpi, 0xFFFFFFFF);
}

TEST_F(Settings, APortAddedAgainKeepsItsTrustAndModeOnly) {
    cache_pppoeia_port_trust_set(bridge, 1, 1);
    cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, 1, 2);
    cache_pppoeia_port_state_set(bridge, 1, 3);
    cache_pppoeia_port_remote_id_set(bridge, 1, "gone");
    cache_pppoeia_port_vlan_add(bridge, 1, 100);
    {
        const ia::LockedBridge b(bridge);
        std::strcpy(b->ports[0].cpe_serial, "KORV12345678");
        std::strcpy(b->ports[0].intf_descr, "flat 12");
        b->ports[0].cpe_mac.bytes[5] = 0x5E;
        b->ports[0].vpi = b->ports[0].vci = 8;
    }
    ASSERT_EQ(cache_pppoeia_port_del(bridge, 1), 0);
    std::uint32_t out = 0;
    EXPECT_EQ(cache_pppoeia_port_trust_get(bridge, 1, &out), -19);
    EXPECT_EQ(cache_pppoeia_port_del(bridge, 1), -19);
    add(1, "sub1", "eth", 9);
    EXPECT_EQ(number(cache_pppoeia_port_trust_get, 1U), 1U);
    EXPECT_EQ(number(cache_pppoeia_port_vsa_circuit_id_mode_get, 1U), 2U);
    EXPECT_EQ(number(cache_pppoeia_port_state_get, 1U), 0U);
    EXPECT_EQ(text(cache_pppoeia_port_remote_id_get, 1U), "");
    pppoeia_port_vlan_info info;
    EXPECT_EQ(cache_pppoeia_port_vlan_get_first(bridge, 1, &info), -2);
    const ia::LockedBridge b(bridge);
    EXPECT_STREQ(b->ports[0].cpe_serial, "");
    EXPECT_STREQ(b->ports[0].intf_descr, "");
    EXPECT_EQ(b->ports[0].cpe_mac.bytes[5], 0);
    EXPECT_EQ(b->ports[0].vpi & b->ports[0].vci, 0xFFFFFFFF);
}

TEST_F(Settings, SettingAllReachesFreeSlotsButNotANewPort) {
    ASSERT_EQ(cache_pppoeia_port_state_set_all(bridge, 3), 0);
    ASSERT_EQ(cache_pppoeia_port_trust_set_all(bridge, 1), 0);
    EXPECT_EQ(ia::LockedBridge(bridge)->ports[5].state, 3U);
    add(6, "late", "eth", 9);
    EXPECT_EQ(number(cache_pppoeia_port_state_get, 6U), 0U);
    EXPECT_EQ(number(cache_pppoeia_port_trust_get, 6U), 1U);
}

TEST_F(Settings, OnlyAtmPortsHaveAPvc) {
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    EXPECT_EQ(cache_pppoeia_port_pvc_set(bridge, 1, 8, 35), 1);
    EXPECT_EQ(cache_pppoeia_port_pvc_get(bridge, 1, &vpi, &vci), 1);
    EXPECT_EQ(cache_pppoeia_port_pvc_get(bridge, 2, nullptr, &vci), 1);
    ASSERT_EQ(cache_pppoeia_port_pvc_get(bridge, 2, &vpi, &vci), 0);
    EXPECT_EQ(vpi, 0xFFFFFFFF);
    ASSERT_EQ(cache_pppoeia_port_pvc_set(bridge, 2, 8, 35), 0);
    ASSERT_EQ(cache_pppoeia_port_pvc_get(bridge, 2, &vpi, &vci), 0);
    EXPECT_EQ(vpi, 8U);
    EXPECT_EQ(vci, 35U);
}

TEST_F(Settings, ParentsAndNamesFollowTheNode) {
    EXPECT_EQ(number(cache_pppoeia_port_parent_get, 1U), 41U);
    ASSERT_EQ(cache_pppoeia_port_parent_set(bridge, 1, 77), 0);
    EXPECT_EQ(number(cache_pppoeia_port_parent_get, 1U), 77U);
    EXPECT_EQ(cache_pppoeia_port_parent_get(bridge, 5, nullptr), 1);
    clear_syslog();
    EXPECT_EQ(cache_pppoeia_port_parent_set(bridge, 5, 77), -19);  // at level 3, so written
    EXPECT_EQ(traces(), std::vector<std::string>{"cache_pppoeia_port_parent_set(5)=-ENODEV"});

    pppoeia_port_location place{};
    place.gem = 9;
    ASSERT_EQ(cache_pppoeia_port_name_update(bridge, 1, "a-name-of-sixteen", &place), 0);
    EXPECT_STREQ(ia::LockedBridge(bridge)->ports[0].port_name, "a-name-of-sixt");
    EXPECT_EQ(ia::LockedBridge(bridge)->ports[0].location.gem, 9U);
}

TEST_F(Settings, MembershipNeedsAnEnabledVlan) {
    int member = 7;
    EXPECT_EQ(cache_pppoeia_port_vlan_info_set(bridge, 1, 100, 1), -1);
    EXPECT_EQ(cache_pppoeia_port_vlan_info_get(bridge, 1, 100, &member), -1);
    cache_pppoeia_bridge_vlan_set(bridge, 100, 1);
    ASSERT_EQ(cache_pppoeia_port_vlan_info_set(bridge, 1, 100, 0), 0);
    ASSERT_EQ(cache_pppoeia_port_vlan_info_get(bridge, 1, 0x1064, &member), 0);  // low 12 bits
    EXPECT_EQ(member, 0);
    EXPECT_EQ(cache_pppoeia_port_vlan_info_set(bridge, 5, 100, 1), -19);
}

TEST_F(Settings, EveryPortOperationChecksThePort) {
    std::uint32_t out = 0;
    for (const std::uint32_t absent : {0U, 5U, 8U, 0xFFFFFFFFU}) {
        EXPECT_EQ(cache_pppoeia_port_state_set(bridge, absent, 1), -19);
        EXPECT_EQ(cache_pppoeia_port_trust_get(bridge, absent, &out), -19);
        EXPECT_EQ(cache_pppoeia_port_remote_id_set(bridge, absent, ""), -19);
        EXPECT_EQ(cache_pppoeia_port_vsa_circuit_id_mode_get(bridge, absent, &out), -19);
        EXPECT_EQ(cache_pppoeia_port_vlan_add(bridge, absent, 1), -19);
        EXPECT_EQ(cache_clear_port_vlan(bridge, absent), -19);
    }
}

TEST_F(Settings, CallsAndOutcomesAreTraced) {
    const LogLevel debug(7);
    clear_syslog();
    cache_pppoeia_bridge_vsa_mode_set(bridge, 1);
    cache_pppoeia_bridge_shelf_id_set(bridge, std::string(40, 's').c_str());
    cache_pppoeia_port_trust_set(bridge, 1, 1);
    cache_pppoeia_port_trust_set(bridge, 5, 1);
    cache_pppoeia_bridge_chassis_id_get("br9", nullptr);
    EXPECT_EQ(
        traces(),
        (std::vector<std::string>{
            "cache_pppoeia_bridge_vsa_mode_set(br0, remove)",
            "cache_pppoeia_bridge_vsa_mode_set()=0",
            "cache_pppoeia_bridge_shelf_id_set(br0, " + std::string(40, 's') + ")",
            "cache_pppoeia_bridge_shelf_id_set()=-ENOSPC",
            "cache_pppoeia_bridge_shelf_id_set()=-28", "cache_pppoeia_port_trust_set(br0, 1, 1)",
            "<br0> Port 1 type set to 1.", "cache_pppoeia_port_trust_set()=0",
            "cache_pppoeia_port_trust_set(br0, 5, 1)", "cache_pppoeia_port_trust_set(5)=-ENODEV",
            "cache_pppoeia_bridge_chassis_id_get(br9)",
            "cache_pppoeia_bridge_chassis_id_get()=-ENOENT"}));
}

}  // namespace
