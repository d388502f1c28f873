// The second line: no filter hangs at any port here.
#include "node/kernel/barrier.h"
#include "tests/node/kernel/fixture.h"

#include <gtest/gtest.h>

namespace ia::node::test {
namespace {

class SecondLine : public BridgeTest {
protected:
    void SetUp() override {
        BridgeTest::SetUp();
        if (IsSkipped()) return;
        run("ip link add br1 up type bridge mcast_snooping 0");
        add_port("p5 h5", "br1");
        add_port("n5 s5", "br1");
        ASSERT_TRUE(eventually([] { return forwarding_ports() == 6; }));
        rules.bridges = {"br0"};
        rules.tag_types = {0x8100, 0x88A8, 0x9100};
        for (const Link &link : list_links())
            if (link.name == "p5" || link.name == "n5")
                rules.open_ports.insert(static_cast<std::uint32_t>(link.index));
    }

    Barrier::Rules rules;
};

// Tags as they come from outside: the kernel keeps the first one beside the frame
// if it knows its type.
TEST_F(SecondLine, StopsDiscoveryOfTheDescribedBridgeAlone) {
    Barrier barrier;
    barrier.put(rules);
    const struct {
        const char *name;
        std::vector<Tag> tags;
        std::uint16_t type;
        bool passes;
    } rows[] = {
        {"untagged", {}, 0x8863, false},
        {"priority tag", {{0x8100, 0}}, 0x8863, false},
        {"tag", {{0x8100, 100}}, 0x8863, false},
        {"S-Tag", {{0x88A8, 100}}, 0x8863, false},
        {"old S-Tag", {{0x9100, 100}}, 0x8863, false},
        {"two tags", {{0x88A8, 7}, {0x8100, 8}}, 0x8863, false},
        {"two tags, old", {{0x9100, 7}, {0x8100, 8}}, 0x8863, false},
        {"three tags", {{0x88A8, 7}, {0x8100, 8}, {0x8100, 9}}, 0x8863, false},
        {"eight tags", std::vector<Tag>(8, {0x8100, 7}), 0x8863, false},
        {"twelve tags", std::vector<Tag>(12, {0x8100, 7}), 0x8863, false},
        {"session", {}, 0x8864, true},
        {"tagged session", {{0x88A8, 7}, {0x8100, 8}}, 0x8864, true},
        {"a tag that is none", {{0x7777, 7}}, 0x8863, true},
    };
    const Host h1("h1"), s1("s1"), h5("h5"), s5("s5"), h2("h2");
    for (const auto &row : rows) {
        Frame frame = discovery(PADI, broadcast, mac_h1, row.tags);
        frame.type = row.type;
        h1.send(frame.bytes());
        const std::vector<Bytes> whole(1, frame.bytes()), behind = heard(s1, h2);
        EXPECT_EQ(behind, row.passes ? whole : std::vector<Bytes>()) << row.name;
        h5.send(frame.bytes());
        EXPECT_EQ(heard(s5, h5), whole) << row.name << ", another bridge";
    }
}

TEST_F(SecondLine, StopsWhatTheMachineItselfSends) {
    Barrier barrier;
    barrier.put(rules);
    const Host bridge("br0"), s1("s1"), h1("h1");
    for (const std::vector<Tag> &tags :
         {std::vector<Tag>{}, {{0x8100, 7}}, {{0x88A8, 7}, {0x8100, 8}}})
        bridge.send(discovery(PADI, broadcast, mac_h1, tags).bytes());
    EXPECT_EQ(0U, discovery_heard(s1, h1));
}

TEST_F(SecondLine, IsReplacedAndRemoved) {
    Barrier barrier;
    barrier.put(rules);
    barrier.put(rules);
    rules.bridges = {"br1", "fifteen-letters"};
    barrier.put(rules);
    EXPECT_TRUE(barrier.stands());
    EXPECT_TRUE(Barrier().remove());
    EXPECT_FALSE(Barrier().remove());
    EXPECT_FALSE(barrier.stands());
    const Host h1("h1"), s1("s1");
    h1.send(discovery(PADI, broadcast, mac_h1, {}).bytes());
    EXPECT_EQ(1U, discovery_heard(s1, h1));
}

}  // namespace
}  // namespace ia::node::test
