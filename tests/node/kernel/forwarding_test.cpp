// Which ports a frame leaves by.
#include "platform/frame_hold.h"
#include "tests/node/kernel/fixture.h"

#include <gmock/gmock.h>
#include <mutex>
#include <utility>

namespace ia::node::test {
namespace {

using ::testing::ElementsAre;

class Forwarding : public BridgeTest {};

TEST_F(Forwarding, UnicastFollowsTheLearntAddress) {
    start();
    std::vector<std::string> outputs;
    std::mutex lock;
    Echo echo("br0", [&](Bytes &datagram) {
        const std::lock_guard guard(lock);
        outputs.emplace_back(record(datagram).output_device);
        return true;
    });
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    const std::vector<Tag> tags{{0x88A8, 200}, {0x8100, 30}};
    h1.send(discovery(PADI, broadcast, mac_h1, tags).bytes());
    ASSERT_TRUE(s1.receive_discovery() && s2.receive_discovery());
    const Bytes pado = discovery(PADO, mac_h1, mac_s1, tags).bytes();
    EXPECT_TRUE(arrives(pado, s1, h1));
    const Bytes padr = discovery(PADR, mac_s1, mac_h1, tags).bytes();
    EXPECT_TRUE(arrives(padr, h1, s1));
    EXPECT_EQ(0U, discovery_heard(h2, s1));
    EXPECT_EQ(0U, discovery_heard(s2, s1));

    // The same address in another VLAN is another station, not yet known.
    s1.send(discovery(PADO, mac_h1, mac_s1, {{0x88A8, 201}, {0x8100, 30}}).bytes());
    EXPECT_TRUE(h2.receive_discovery());
    const std::lock_guard guard(lock);
    EXPECT_THAT(outputs, ElementsAre("br0", "p1", "n1", "br0"));
}

// By port: what became of what came in, and the codes of what went out.
TEST_F(Forwarding, IsCountedByPort) {
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    const auto said = [](std::uint32_t port) {
        frame_counts counts{};
        EXPECT_EQ(0, platform::count_frames("br0", port, counts));
        std::string text;
        const auto add = [&](const char *word, std::uint64_t frames) {
            if (frames != 0) text += word + (' ' + std::to_string(frames)) + ' ';
        };
        static constexpr const char *words[] = {"padi", "pado", "padr", "pads", "padt", "other"};
        for (std::size_t i = 0; i < std::size(words); ++i) add(words[i], counts.sent[i]);
#define ROW(name, word, meaning) add(word, counts.outcomes[OUTCOME_##name]);
        FRAME_OUTCOMES(ROW)
#undef ROW
        return text;
    };
    const std::vector<Tag> tags{{0x88A8, 200}, {0x8100, 30}, {0x8100, 31}};
    h1.send(discovery(PADI, broadcast, mac_h1, tags).bytes());
    ASSERT_TRUE(s1.receive_discovery() && s2.receive_discovery());
    for (const std::uint8_t code : {std::uint8_t{PADO}, std::uint8_t{PADS}, std::uint8_t{0xD3}}) {
        s1.send(discovery(code, mac_h1, mac_s1, tags).bytes());
        ASSERT_TRUE(h1.receive_discovery());
    }
    h1.send(discovery(PADI, broadcast, mac_h1, std::vector<Tag>(4, {0x8100, 7})).bytes());
    ASSERT_EQ(0, platform::hold_frames("br0", 11));
    EXPECT_TRUE(is_lost(discovery(PADI, broadcast, mac_h1, tags).bytes(), h1, s1));
    EXPECT_EQ("pado 1 pads 1 other 1 handed 1 spread 1 held-port 1 too-deep 1 ", said(11));
    EXPECT_EQ("", said(300));
    EXPECT_EQ("padi 1 handed 3 sent 3 ", said(1));
    EXPECT_EQ("padi 1 ", said(2));

    ASSERT_EQ(0, platform::clear_frame_counts("br0", 1));
    EXPECT_EQ("", said(1));
    ASSERT_EQ(0, platform::bind_port("br0", 12, "p1", 0));
    EXPECT_EQ("", said(12)) << "what was counted of port 11 is not of port 12";
}

TEST_F(Forwarding, SpreadsFromTheNetworkToEverySubscriber) {
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    const Bytes pado = discovery(PADO, broadcast, mac_s1, {{0x8100, 100}}).bytes();
    EXPECT_TRUE(arrives(pado, s1, h1));
    EXPECT_EQ(pado, h2.receive_discovery());
    EXPECT_EQ(0U, discovery_heard(s2, s1));
    EXPECT_EQ(0U, discovery_heard(h1, s1));
}

TEST_F(Forwarding, NothingGoesFromSubscriberToSubscriber) {
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    h2.send(discovery(PADI, broadcast, mac_h2, {}).bytes());
    ASSERT_TRUE(s1.receive_discovery() && s2.receive_discovery());
    const Bytes padr = discovery(PADR, mac_h2, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padr, h1, s1));
    EXPECT_EQ(padr, s2.receive_discovery());
    EXPECT_EQ(0U, discovery_heard(h2, h1));
}

TEST_F(Forwarding, NoFrameReturnsToTheNetworkPortThatItsAddressLivesOn) {
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    s1.send(discovery(PADI, broadcast, mac_s2, {}).bytes());
    ASSERT_TRUE(h1.receive_discovery());
    EXPECT_TRUE(is_lost(discovery(PADO, mac_s2, mac_s1, {}).bytes(), s1, h1));
    EXPECT_EQ(1U, outcome(OUTCOME_AT_HOME));
}

TEST_F(Forwarding, WhatTheEngineDropsTeachesNothing) {
    start();
    bool first = true;
    Echo echo("br0", [&](Bytes &) { return !std::exchange(first, false); });
    const Host h1("h1"), h2("h2"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    const Bytes pado = discovery(PADO, mac_h1, mac_s1, {}).bytes();
    h1.send(padi);  // dropped
    EXPECT_TRUE(arrives(pado, s1, h1));
    EXPECT_EQ(pado, h2.receive_discovery()) << "to all";
    EXPECT_TRUE(arrives(padi, h1, s1));
    EXPECT_TRUE(arrives(pado, s1, h1));
    EXPECT_EQ(0U, discovery_heard(h2, s1));
}

TEST_F(Forwarding, AStormOfAddressesLeavesOtherLinesAlone) {
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1"), s2("s2");
    h2.send(discovery(PADI, broadcast, mac_h2, {}).bytes());
    ASSERT_TRUE(s1.receive_discovery());
    for (std::uint32_t number = 0; number < 80000; ++number) {
        const Mac made{0x06,
                       0,
                       0,
                       static_cast<std::uint8_t>(number >> 16),
                       static_cast<std::uint8_t>(number >> 8),
                       static_cast<std::uint8_t>(number)};
        h1.send(discovery(PADI, broadcast, made, {}, number).bytes());
        if (number % 50 != 49) continue;
        for (int i = 0; i < 50; ++i) ASSERT_TRUE(s1.receive_discovery());
    }
    const Bytes pado = discovery(PADO, mac_h2, mac_s1, {}).bytes();
    EXPECT_TRUE(arrives(pado, s1, h2));
    EXPECT_EQ(0U, discovery_heard(h1, s1));
    // The storm's own last address was not learnt.
    s1.send(discovery(PADO, {0x06, 0, 0, 0x01, 0x38, 0x7F}, mac_s1, {}).bytes());
    EXPECT_TRUE(h2.receive_discovery());
}

}  // namespace
}  // namespace ia::node::test
