// What the ID generation reads through: the bridge record and the list of bridges.
#include "store/bridge_list.h"
#include "tests/idgen/scenario.h"

using namespace ia::test;

namespace {

using Readers = IdTest;

TEST_F(Readers, OfANewBridge) {
    const pppoeia_bridge usual("br0", 13);
    EXPECT_STREQ(usual.pseudo_dev, "br0_pppoe");
    EXPECT_EQ(usual.board_pos, 3U);
    EXPECT_EQ(usual.port_limit, 13U);
    node().board.reset();
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
