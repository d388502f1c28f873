// Frames held back on request, and whether the engine gets them.
#include "platform/frame_hold.h"
#include "tests/node/kernel/fixture.h"

#include <bpf/bpf.h>
#include <gtest/gtest.h>
#include <linux/bpf.h>
#include <sys/resource.h>
#include <cerrno>
#include <cstring>
#include <functional>
#include <optional>
#include <utility>

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
        const auto held_so_far = [&] { return outcome(OUTCOME_HELD) + outcome(OUTCOME_NO_PORT); };
        const std::uint64_t held = held_so_far();
        from.send(discovery(PADI, broadcast, mac, {}).bytes());
        if (discovery_heard(to, from) > 0) return true;  // the mark went past the engine
        if (held_so_far() > held) return false;
        return to.receive_discovery().has_value();
    }
    // A map of this process takes no more writes from it.
    static void freeze(std::string_view name) {
        for (int map = 0; map < 256; ++map) {
            bpf_map_info info{};
            std::uint32_t size = sizeof info;
            const bool known = bpf_obj_get_info_by_fd(map, &info, &size) == 0;
            if (known && name == info.name) {
                ASSERT_EQ(0, bpf_map_freeze(map)) << name;
            }
        }
    }
    bool carries(const char *device) const {
        for (const PortStatus &port : kernel->ports())
            if (port.device == device) return !port.held;
        return false;
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

#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define IA_SANITIZER_OPENS_DESCRIPTORS
#endif
#endif
#ifndef IA_SANITIZER_OPENS_DESCRIPTORS
// Neither a hold nor its release opens a descriptor.
TEST_F(Hold, WithoutDescriptors) {
    start();
    const Echo echo("br0");
    rlimit before;
    ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
    const rlimit none{3, before.rlim_max};  // poll() takes no more places than that
    const auto bare = [&](auto call) {
        setrlimit(RLIMIT_NOFILE, &none);
        const int result = call();
        setrlimit(RLIMIT_NOFILE, &before);
        return result;
    };
    EXPECT_EQ(bare([] { return hold_frames("br0", 11); }), 0);
    EXPECT_FALSE(p1_passes());
    run("ip link set p2 down; ip link set p2 up");
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 4; }));
    EXPECT_EQ(bare([] { return hold_frames("br0", 0); }), 0);
    EXPECT_FALSE(p2_passes());
    EXPECT_EQ(bare([] { return release_frames("br0", 0); }), 0);
    EXPECT_TRUE(p1_passes());
}
#endif

TEST_F(Hold, ReleasingTheBridgeReleasesItsPorts) {
    start();
    const Echo echo("br0");
    ASSERT_EQ(hold_frames("br0", 11), 0);
    ASSERT_EQ(hold_frames("br0", 0), 0);
    ASSERT_EQ(release_frames("br0", 0), 0);
    EXPECT_TRUE(p1_passes());
}

// A frame waits in the engine while something happens to its line.
TEST_F(Hold, NothingIsPassedOnThatCameInBefore) {
    const auto hold = [](std::uint32_t port) { ASSERT_EQ(hold_frames("br0", port), 0); };
    const auto release = [](std::uint32_t port) { ASSERT_EQ(release_frames("br0", port), 0); };
    const auto exchange_ids = [&] {
        std::swap(node.interfaces[2].id, node.interfaces[3].id);
        for (const std::uint32_t port : {11U, 300U}) platform::unbind_port("br0", port);
        bind_ports();
    };
    const struct {
        const char *name;
        std::function<void()> happens;
        bool passes;
    } rows[] = {
        {"nothing", [] {}, true},
        {"another port is held and released",
         [&] {
             hold(300);
             release(300);
         },
         true},
        {"the port is held", [&] { hold(11); }, false},
        {"the port was held",
         [&] {
             hold(11);
             release(11);
         },
         false},
        {"the port was held twice",
         [&] {
             hold(11);
             release(11);
             hold(11);
             release(11);
         },
         false},
        {"the bridge is held", [&] { hold(0); }, false},
        {"the bridge was held",
         [&] {
             hold(0);
             release(0);
         },
         false},
        {"the ids are exchanged", exchange_ids, false},
        {"the ids were exchanged",
         [&] {
             exchange_ids();
             exchange_ids();
         },
         false},
        {"the port has another device",
         [&] {
             run("ip link set p1 down; ip link set p1 name q1; ip link set q1 up");
             ASSERT_TRUE(eventually([&] { return check_bridge("br0") == 0 && !carries("p1"); }));
             run("ip link set q1 down; ip link set q1 name p1; ip link set p1 up");
             ASSERT_TRUE(eventually([&] { return carries("p1"); }));
         },
         false},
    };
    start();
    const Host h1("h1"), h2("h2"), s1("s1");
    // Back to the client, as an error reply, or on to the network.
    for (const bool answered : {false, true}) {
        const auto turn = [&](Bytes &datagram) {
            kvbridge_frame_hdr &header = record(datagram);
            std::memcpy(header.output_device, header.input_device, sizeof header.output_device);
            std::snprintf(header.input_device, sizeof header.input_device, "br0_pppoe");
            return true;
        };
        Echo echo("br0", answered ? Echo::Change(turn) : nullptr, Echo::Run::by_hand);
        for (const auto &row : rows) {
            SCOPED_TRACE(row.name);
            const std::uint64_t stale = outcome(OUTCOME_STALE);
            h1.send(discovery(PADI, broadcast, mac_h1, {}).bytes());
            ASSERT_TRUE(eventually([&] { return echo.wait(); }));
            row.happens();
            echo.pass_one();
            EXPECT_EQ(row.passes ? 1U : 0U,
                      answered ? discovery_heard(h1, h2) : discovery_heard(s1, h2));
            EXPECT_EQ(stale + (row.passes ? 0 : 1), outcome(OUTCOME_STALE));
            node = description();
            bind_ports();
            release(0);
        }
    }
}

// A map that takes no more writes: who asked is told, and what he wanted held is.
TEST_F(Hold, AWriteThatFails) {
    start();
    const Echo echo("br0");
    ASSERT_EQ(hold_frames("br0", 11), 0);
    for (const char *map : {"ports", "bridges"}) freeze(map);
    EXPECT_EQ(hold_frames("br0", 300), -EPERM);
    EXPECT_EQ(release_frames("br0", 11), -EPERM);
    EXPECT_FALSE(p1_passes());
    EXPECT_EQ(hold_frames("br0", 0), -EPERM);
    EXPECT_EQ(release_frames("br0", 0), -EPERM);
    EXPECT_EQ(platform::bind_port("br0", 12, "p1", FILTER_NETWORK), -EPERM);
}

TEST_F(Hold, WhatTheEngineLacks) {
    start();
    EXPECT_EQ(check_bridge("br0"), -ENODEV) << "never attached";
    std::optional<Echo> echo("br0");
    EXPECT_EQ(check_bridge("br0"), 0);
    const Bridge &bridge = node.bridges[0];
    const auto describe = [&](std::uint32_t max_pdu) {
        return platform::describe_bridge("br0", "br0", bridge.stag_ethertype, max_pdu);
    };
    ASSERT_EQ(describe(3000), 0);
    EXPECT_EQ(check_bridge("br0"), -EMSGSIZE);
    ASSERT_EQ(describe(bridge.max_pdu), 0);
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
