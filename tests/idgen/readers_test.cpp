// What the ID generation reads through: the bridge record, its readers, and the
// list of bridges.
#include "store/accessors.h"
#include "store/bridge_list.h"
#include "tests/idgen/scenario.h"

#include <cstring>

using namespace ia::test;

namespace {

class Readers : public IdTest {
protected:
    Readers() {
        fill(bridge_);
        auto &entry = bridge_.ports[DSL - 1].port_vlans[100];
        entry.cid_mode = PPPOEIA_CID_CUSTOM;
        std::strcpy(entry.cid_format, "cid");
        std::strcpy(entry.rid_format, "rid");
        clear_syslog();
    }

    pppoeia_bridge bridge_{"br0", 13};
    std::uint32_t out_ = 42;
};

TEST_F(Readers, OfAPortsNumbers) {
    bridge_.ports[DSL - 1].vsa_circuit_id_mode = 2;
    EXPECT_EQ(br_port_vsa_circuit_id_mode_get(bridge_, DSL, &out_), 0);
    EXPECT_EQ(out_, 2U);
    EXPECT_EQ(br_port_parent_get(bridge_, GEM, &out_), 0);
    EXPECT_EQ(out_, 5U);
    EXPECT_EQ(br_port_parent_get(bridge_, GEM, nullptr), 1);
    EXPECT_TRUE(traces().empty());
    EXPECT_EQ(br_port_vsa_circuit_id_mode_get(bridge_, DELETED, &out_), -19);
    EXPECT_EQ(br_port_parent_get(bridge_, LAST_SLOT, &out_), -19);
    EXPECT_EQ(traces(), (std::vector<std::string>{"br_port_vsa_circuit_id_mode_get(9)=-ENODEV",
                                                  "br_port_parent_get(13)=-ENODEV"}));
}

TEST_F(Readers, OfAPvc) {
    std::uint32_t vci = 42;
    EXPECT_EQ(br_port_pvc_get(bridge_, DSL, &out_, &vci), 1);
    EXPECT_EQ(br_port_pvc_get(bridge_, PVC, nullptr, &vci), 1);
    EXPECT_EQ(br_port_pvc_get(bridge_, PVC, &out_, nullptr), 1);
    EXPECT_EQ(br_port_pvc_get(bridge_, NEVER_USED, &out_, &vci), -19);
    EXPECT_EQ(out_, 42U);
    EXPECT_EQ(vci, 42U);
    EXPECT_EQ(br_port_pvc_get(bridge_, PVC, &out_, &vci), 0);
    EXPECT_EQ(out_, 8U);
    EXPECT_EQ(vci, 35U);
}

TEST_F(Readers, OfARemoteId) {
    char remote_id[64] = "before";
    EXPECT_EQ(br_port_remote_id_get(bridge_, DSL, remote_id), 0);
    EXPECT_STREQ(remote_id, "line-2");
    EXPECT_EQ(traces(), (std::vector<std::string>{"br_port_remote_id_get(br0, 2)",
                                                  "br_port_remote_id_get()=0"}));
    EXPECT_EQ(br_port_remote_id_get(bridge_, DELETED, remote_id), -19);
    EXPECT_TRUE(was_traced("br_port_remote_id_get(9)=-ENODEV"));
    EXPECT_STREQ(remote_id, "line-2");
}

TEST_F(Readers, OfAPortVlanEntry) {
    char format[129] = "before";
    EXPECT_EQ(br_circuit_id_mode_port_vlan_get(bridge_, DSL, 100, &out_), 0);
    EXPECT_EQ(out_, 2U);
    EXPECT_EQ(br_circuit_id_format_port_vlan_get(bridge_, DSL, 100, format), 0);
    EXPECT_STREQ(format, "cid");
    EXPECT_EQ(br_remote_id_format_port_vlan_get(bridge_, DSL, 100, format), 0);
    EXPECT_STREQ(format, "rid");
    EXPECT_EQ(traces(), (std::vector<std::string>{"br_circuit_id_mode_port_vlan_get(br0)",
                                                  "br_circuit_id_format_port_vlan_get(br0)",
                                                  "br_remote_id_format_port_vlan_get(br0)"}));
    EXPECT_EQ(br_circuit_id_mode_port_vlan_get(bridge_, DSL, 101, &out_), -2);
    EXPECT_TRUE(was_traced("br_circuit_id_mode_port_vlan_get()=-ENOENT"));
    EXPECT_EQ(br_remote_id_format_port_vlan_get(bridge_, DELETED, 100, format), -19);
    EXPECT_TRUE(was_traced("br_remote_id_format_port_vlan_get(9)=-ENODEV"));
    EXPECT_STREQ(format, "rid");
}

TEST_F(Readers, OfANewBridge) {
    EXPECT_STREQ(bridge_.pseudo_dev, "br0_pppoe");
    EXPECT_EQ(bridge_.board_pos, 3U);
    EXPECT_EQ(bridge_.port_limit, 13U);
    platform().board_position.reset();
    const pppoeia_bridge longer("0123456789abcdefXYZ", 0);
    EXPECT_STREQ(longer.name, "0123456789abcdef");
    EXPECT_STREQ(longer.pseudo_dev, "0123456789abcde");
    EXPECT_EQ(longer.board_pos, 0U);
    EXPECT_EQ(longer.port(0), nullptr);
    const pppoeia_bridge ten("0123456789", 1);
    EXPECT_STREQ(ten.pseudo_dev, "0123456789_pppo");
    EXPECT_EQ(ten.port(1), nullptr);
}

std::vector<std::string> names(const std::vector<ia::BridgePtr> &bridges) {
    std::vector<std::string> all;
    for (const ia::BridgePtr &bridge : bridges) all.push_back(bridge->name);
    return all;
}

TEST(BridgeList, RunsNewestFirst) {
    using Names = std::vector<std::string>;
    const auto make = [](const char *name) { return std::make_shared<pppoeia_bridge>(name, 2); };
    EXPECT_FALSE(ia::bridge_list_exists());
    EXPECT_EQ(ia::bridge_list_find("a"), nullptr);
    EXPECT_EQ(ia::bridge_list_unlink("a"), nullptr);
    ia::bridge_list_link(make("lost"));  // there is no list
    EXPECT_TRUE(ia::bridge_list_snapshot().empty());

    ASSERT_TRUE(ia::bridge_list_create());
    EXPECT_TRUE(ia::bridge_list_exists());
    for (const char *name : {"a", "b", "c"}) ia::bridge_list_link(make(name));
    const ia::BridgePtr newer = make("b");
    ia::bridge_list_link(newer);
    EXPECT_EQ(names(ia::bridge_list_snapshot()), (Names{"b", "c", "b", "a"}));
    EXPECT_EQ(ia::bridge_list_find("b"), newer);
    EXPECT_EQ(ia::bridge_list_find(nullptr), nullptr);
    EXPECT_EQ(ia::bridge_list_unlink("b"), newer);
    EXPECT_EQ(ia::bridge_list_unlink("x"), nullptr);
    EXPECT_EQ(names(ia::bridge_list_release()), (Names{"c", "b", "a"}));
    EXPECT_FALSE(ia::bridge_list_exists());
    EXPECT_TRUE(ia::bridge_list_release().empty());
}

}  // namespace
