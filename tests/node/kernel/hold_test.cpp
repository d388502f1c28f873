// Frames held back on request, and whether the engine gets them.
#include "platform/frame_hold.h"
#include "tests/node/kernel/fixture.h"

#include <gtest/gtest.h>
#include <cerrno>
#include <optional>

namespace ia::node::test {
namespace {

using platform::check_bridge;
using platform::hold_frames;
using platform::release_frames;

class Hold : public BridgeTest {
protected:
    // Sends a PADI of a subscriber; whether it comes to the network's hosts.
    bool passes(const char *subscriber, const Mac &mac) const {
        const Host from(subscriber), to("s1");
        const std::uint64_t held = outcome(OUTCOME_HELD);
        from.send(discovery(PADI, broadcast, mac, {}).bytes());
        if (discovery_heard(to, from) > 0) return true;  // the mark went past the engine
        if (outcome(OUTCOME_HELD) > held) return false;
        return to.receive_discovery().has_value();
    }
    bool p1_passes() const { return passes("h1", mac_h1); }
    bool p2_passes() const { return passes("h2", mac_h2); }
};

TEST_F(Hold, WithoutAKernel) {
    EXPECT_EQ(hold_frames("br0", 0), -ENXIO);
    EXPECT_EQ(check_bridge("br0"), -ENXIO);
    start();
    EXPECT_EQ(hold_frames("", 0), -EINVAL);
    EXPECT_EQ(hold_frames("later", 0), 0) << "a bridge may come";
    EXPECT_EQ(check_bridge("later"), -ENOENT);
}

// Held before it is attached, so that no frame comes first.
TEST_F(Hold, AWholeBridge) {
    start();
    ASSERT_EQ(hold_frames("br0", 0), 0);
    const Echo echo("br0");
    EXPECT_FALSE(p1_passes());
    EXPECT_EQ(check_bridge("br0"), 0) << "held, but attached";
    ASSERT_EQ(release_frames("br0", 0), 0);
    EXPECT_TRUE(p1_passes());
    ASSERT_EQ(hold_frames("br0", 0), 0);
    EXPECT_FALSE(p1_passes());
    EXPECT_GE(outcome(OUTCOME_HELD), 2U);
}

TEST_F(Hold, OnePort) {
    start();
    const Echo echo("br0");
    ASSERT_EQ(hold_frames("br0", 11), 0);
    EXPECT_FALSE(p1_passes());
    EXPECT_TRUE(p2_passes());
    // It stays held when its device goes and comes.
    run("ip link del p1");
    add_port("p1 h1");
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 4; }));
    EXPECT_FALSE(p1_passes());
    ASSERT_EQ(release_frames("br0", 11), 0);
    EXPECT_TRUE(p1_passes());
}

TEST_F(Hold, ReleasingTheBridgeReleasesItsPorts) {
    start();
    const Echo echo("br0");
    ASSERT_EQ(hold_frames("br0", 11), 0);
    ASSERT_EQ(hold_frames("br0", 0), 0);
    ASSERT_EQ(release_frames("br0", 0), 0);
    EXPECT_TRUE(p1_passes());
}

TEST_F(Hold, WhatTheEngineLacks) {
    start();
    EXPECT_EQ(check_bridge("br0"), -ENODEV) << "never attached";
    std::optional<Echo> echo("br0");
    EXPECT_EQ(check_bridge("br0"), 0);
    Description larger = node;
    larger.bridges[0].max_pdu = 3000;
    kernel->update(larger);
    EXPECT_EQ(check_bridge("br0"), -EMSGSIZE);
    kernel->update(node);
    EXPECT_EQ(check_bridge("br0"), 0);
    run("ip link del br0_pppoe");
    EXPECT_EQ(check_bridge("br0"), -ENODEV);
    EXPECT_FALSE(p1_passes());
    echo.reset();
    echo.emplace("br0");
    EXPECT_EQ(check_bridge("br0"), 0);
    EXPECT_TRUE(p1_passes());
    run("ip link del br0");
    EXPECT_EQ(check_bridge("br0"), 0) << "there is nothing to get";
}

}  // namespace
}  // namespace ia::node::test
