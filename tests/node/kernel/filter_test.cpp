// What the filter does to frames.
#include "tests/node/kernel/fixture.h"

#include <gmock/gmock.h>
#include <atomic>
#include <cstring>
#include <mutex>
#include <set>

namespace ia::node::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Stack {
    const char *name;
    std::vector<Tag> tags;
    std::uint8_t fields[4];  // the record's vlan and cvlan
};

// Priority and drop bits are set here and there: they must come through.
const Stack stacks[] = {
    {"Untagged", {}, {0x00, 0x00, 0x0F, 0xFF}},
    {"PriorityTagged", {{0x8100, 0xE000}}, {0x00, 0x00, 0x0F, 0xFF}},
    {"Tagged", {{0x8100, 0xA064}}, {0x00, 0x64, 0x0F, 0xFF}},
    {"STagAlone", {{0x88A8, 0x1FFE}}, {0x0F, 0xFE, 0x0F, 0xFF}},
    {"STagOverTag", {{0x88A8, 0x70C8}, {0x8100, 0xEF9F}}, {0x00, 0xC8, 0x0F, 0x9F}},
    {"TagOverTag", {{0x8100, 0x0001}, {0x8100, 0x4002}}, {0x00, 0x01, 0x00, 0x02}},
    {"ThreeTags", {{0x88A8, 0x0FFE}, {0x8100, 0xB003}, {0x8100, 0x2064}}, {0x0F, 0xFE, 0x00, 0x03}},
    {"OtherSTag", {{0x9100, 0x6007}, {0x8100, 0x0008}}, {0x00, 0x07, 0x00, 0x08}},
};

class EveryStack : public BridgeTest, public ::testing::WithParamInterface<Stack> {
protected:
    void SetUp() override {
        BridgeTest::SetUp();
        const std::vector<Tag> &tags = GetParam().tags;
        if (!node.bridges.empty() && !tags.empty() && tags[0].type != 0x8100)
            node.bridges[0].stag_ethertype = tags[0].type;
    }
};

INSTANTIATE_TEST_SUITE_P(Filter, EveryStack, ::testing::ValuesIn(stacks),
                         [](const auto &row) { return row.param.name; });

TEST_P(EveryStack, PassesOnceThroughTheEngineAndUnchanged) {
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    std::multiset<Bytes> sent, received;
    for (std::uint32_t number = 0; number < 1000; ++number) {
        const Bytes padi = discovery(PADI, broadcast, mac_h1, GetParam().tags, number).bytes();
        sent.insert(padi);
        h1.send(padi);
        if (number % 50 != 49) continue;  // a window, so that no queue overflows
        while (received.size() < sent.size()) {
            auto frame = s1.receive_discovery();
            ASSERT_TRUE(frame) << "after " << received.size();
            received.insert(std::move(*frame));
        }
    }
    EXPECT_EQ(sent, received);
    EXPECT_TRUE(eventually([&] { return outcome(OUTCOME_SPREAD) == 1000; }));
    EXPECT_EQ(0U, discovery_heard(s1, h1));  // no second copy
    EXPECT_EQ(1000U, discovery_heard(s2, s1));
    EXPECT_EQ(0U, discovery_heard(h2, h1));
    EXPECT_EQ(1000U, outcome(OUTCOME_HANDED));
    EXPECT_EQ(0U, outcome(OUTCOME_UNMARKED));
}

TEST_P(EveryStack, BearsTheRecord) {
    start();
    Bytes seen;
    Echo echo("br0", [&](Bytes &datagram) {
        seen = datagram;
        return true;
    });
    const Host h2("h2"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h2, GetParam().tags).bytes();
    ASSERT_TRUE(arrives(padi, h2, s1));

    ASSERT_EQ(107 + padi.size(), seen.size());
    EXPECT_THAT(Bytes(&seen[4], &seen[8]), ::testing::ElementsAreArray(GetParam().fields));
    // 60 bytes and four a tag behind a record of 107: 167, 171, 175, 179.
    const auto total = static_cast<std::uint8_t>(167 + 4 * GetParam().tags.size());
    EXPECT_THAT(Bytes(&seen[48], &seen[54]), ElementsAre(total, 0, 0, 0, 0x2C, 0x01));
    EXPECT_STREQ("p2", record(seen).input_device);
    EXPECT_STREQ("br0", record(seen).output_device);
    EXPECT_EQ(padi, Bytes(seen.begin() + 107, seen.end()));
}

TEST_P(EveryStack, IsHeldWithoutTheEngine) {
    start();
    const Host h1("h1"), h2("h2"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, GetParam().tags).bytes();
    EXPECT_TRUE(is_lost(padi, h1, s1));
    {
        Echo echo("br0");
        EXPECT_TRUE(arrives(padi, h1, s1));
        echo.stop_reading();  // killed: nobody reads, the filter still hands over
        EXPECT_TRUE(is_lost(padi, h1, s1));
    }
    EXPECT_TRUE(is_lost(padi, h1, s1));
    EXPECT_EQ(0U, discovery_heard(h2, h1));
    EXPECT_EQ(2U, outcome(OUTCOME_HELD));
}

TEST_P(EveryStack, FromTheHostItselfIsStopped) {
    start();
    Barrier().remove();  // which would be first
    Echo echo("br0");
    const Host bridge("br0"), h1("h1"), s1("s1");
    bridge.send(discovery(PADI, broadcast, mac_s2, GetParam().tags).bytes());
    EXPECT_EQ(0U, discovery_heard(s1, h1));
    EXPECT_EQ(4U, outcome(OUTCOME_UNMARKED));
}

class Filtering : public BridgeTest {};

TEST_F(Filtering, OtherFramesPassBesideTheEngine) {
    start();
    // The bridge looks at IPv4 headers: 10.0.0.1 to 10.0.0.2, 46 bytes, UDP.
    Bytes ipv4{0x45, 0, 0, 0x2E, 0, 0, 0, 0, 0x40, 0x11, 0x66, 0xBD, 10, 0, 0, 1, 10, 0, 0, 2};
    ipv4.resize(46);
    const Frame others[] = {
        {mac_s1, mac_h1, {}, 0x0800, ipv4},
        {mac_s1, mac_h1, {{0x8100, 0xA064}}, 0x0800, Bytes(1500, 2)},
        {broadcast, mac_h1, {}, 0x0806, Bytes(46, 3)},
        {mac_s1, mac_h1, {}, 0x8864, Bytes(1500, 4)},
        {mac_s1, mac_h1, {{0x88A8, 0x70C8}, {0x8100, 0xEF9F}}, 0x8864, Bytes(46, 5)},
        {mac_s1, mac_h1, {}, 46, Bytes(46, 0xAA)},  // a length, no type
    };
    const Host h1("h1"), s1("s1");
    for (const Frame &frame : others) {
        h1.send(frame.bytes());
        EXPECT_EQ(frame.bytes(), s1.receive(10000)) << std::hex << frame.type;
    }
}

// On a bridge whose S-Tag is 0x88A8.
TEST_F(Filtering, DiscoveryBehindTagsThatTheEngineDoesNotReadIsDropped) {
    using Types = std::vector<std::uint16_t>;
    const struct {
        Types types;
        frame_outcome outcome;
    } rows[] = {
        {Types(4, 0x8100), OUTCOME_TOO_DEEP},
        {Types(8, 0x8100), OUTCOME_TOO_DEEP},
        {Types(9, 0x8100), OUTCOME_TOO_DEEP},
        {Types(20, 0x8100), OUTCOME_TOO_DEEP},
        {Types(3, 0x8100), OUTCOME_FOREIGN_TAG},  // the third needs an S-Tag before it
        {{0x9100}, OUTCOME_FOREIGN_TAG},
        {{0x9200, 0x8100}, OUTCOME_FOREIGN_TAG},
        {{0x8100, 0x88A8}, OUTCOME_FOREIGN_TAG},
        {{0x88A8, 0x88A8}, OUTCOME_FOREIGN_TAG},
        {{0x88A8, 0x8100, 0x9300}, OUTCOME_FOREIGN_TAG},
    };
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    for (const auto &row : rows) {
        std::vector<Tag> tags;
        for (const std::uint16_t type : row.types) tags.push_back({type, 7});
        const std::uint64_t before = outcome(row.outcome);
        EXPECT_TRUE(is_lost(discovery(PADI, broadcast, mac_h1, tags).bytes(), h1, s1));
        EXPECT_EQ(before + 1, outcome(row.outcome)) << ::testing::PrintToString(row.types);
    }
}

TEST_F(Filtering, TakesAFullFrameBehindThreeTagsAndNoLongerOne) {
    // The hosts' devices have room for the three tags.
    for (const auto &[mtu, devices] : {std::pair(1500U, "1516"), std::pair(1600U, "1616")}) {
        SCOPED_TRACE(mtu);
        for (const char *device : {"p1", "h1", "n1", "s1", "n2", "s2", "p2", "h2"})
            run(std::string("ip link set ") + device + " mtu " + devices);
        run("ip link set br0 mtu " + std::to_string(mtu));
        start();
        Echo echo("br0");
        const Host h1("h1"), s1("s1");
        Frame padi = discovery(PADI, broadcast, mac_h1, {{0x88A8, 1}, {0x8100, 2}, {0x8100, 3}});
        padi.payload.resize(mtu + 1);
        h1.send(padi.bytes());
        EXPECT_EQ(0U, discovery_heard(s1, h1));
        EXPECT_EQ(1U, outcome(OUTCOME_TOO_LONG));
        padi.payload.resize(mtu);
        h1.send(padi.bytes());
        EXPECT_EQ(padi.bytes(), s1.receive_discovery());
        kernel.reset();
    }
}

TEST_F(Filtering, ARedirectedReplyGoesToTheInputPort) {
    start();
    Echo echo("br0", [](Bytes &datagram) {
        kvbridge_frame_hdr &header = record(datagram);
        std::memcpy(header.output_device, header.input_device, sizeof header.output_device);
        std::snprintf(header.input_device, sizeof header.input_device, "br0_pppoe");
        std::memset(header.output_device + 3, 'x', sizeof header.output_device - 3);  // no meaning
        std::copy_n(&datagram[frame_at + 6], 6, &datagram[frame_at]);
        std::copy(mac_s2.begin(), mac_s2.end(), &datagram[frame_at + 6]);
        return true;
    });
    const Host h1("h1"), h2("h2"), s1("s1");
    const std::vector<Tag> tags{{0x88A8, 0x70C8}, {0x8100, 0xEF9F}};
    h1.send(discovery(PADI, broadcast, mac_h1, tags, 5).bytes());
    EXPECT_EQ(discovery(PADI, mac_h1, mac_s2, tags, 5).bytes(), h1.receive_discovery());
    EXPECT_EQ(0U, discovery_heard(s1, h1));
    EXPECT_EQ(0U, discovery_heard(h2, s1));
}

TEST_F(Filtering, TheEngineMayChangeTheLength) {
    start();
    std::atomic<int> change = 40;
    Echo echo("br0", [&](Bytes &datagram) {
        datagram.resize(datagram.size() + static_cast<std::size_t>(change.load()), 0x5A);
        record(datagram).total_length = static_cast<std::uint32_t>(datagram.size());
        return true;
    });
    const Host h1("h1"), s1("s1");
    Frame padi = discovery(PADI, broadcast, mac_h1, {{0x8100, 1}, {0x8100, 2}});
    h1.send(padi.bytes());
    padi.payload.resize(86, 0x5A);
    EXPECT_EQ(padi.bytes(), s1.receive_discovery());
    change = -10;
    h1.send(padi.bytes());
    padi.payload.resize(76);
    EXPECT_EQ(padi.bytes(), s1.receive_discovery());
}

TEST_F(Filtering, UnusableRecordsAreDropped) {
    start();
    const char *const names[] = {"h2", "", "br1", "lo", "br0_pppoe"};
    std::size_t next = 0;
    Echo echo("br0", [&](Bytes &datagram) {
        std::snprintf(record(datagram).output_device, 16, "%s", names[next++ % std::size(names)]);
        return true;
    });
    const Host h1("h1"), s1("s1"), pseudo("br0_pppoe");
    for (std::size_t i = 0; i < std::size(names); ++i)
        h1.send(discovery(PADI, broadcast, mac_h1, {}).bytes());
    EXPECT_TRUE(eventually([&] { return outcome(OUTCOME_NO_OUTPUT) == std::size(names); }));
    for (const Bytes &bare : {mark(200), discovery(PADI, broadcast, mac_h1, {}, 0).bytes()})
        EXPECT_THROW(pseudo.send(bare), std::system_error);
    EXPECT_EQ(2U, outcome(OUTCOME_BAD_RECORD));
    EXPECT_THAT(heard(s1, h1), IsEmpty());
}

}  // namespace
}  // namespace ia::node::test
