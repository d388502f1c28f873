// Lines that would hurt others: by their addresses, or by how much they send.
#include "tests/node/kernel/fixture.h"

#include <sched.h>
#include <chrono>

namespace ia::node::test {
namespace {

Bytes padi(const Mac &source, const std::vector<Tag> &tags = {}, std::uint32_t number = 0) {
    return discovery(PADI, broadcast, source, tags, number).bytes();
}

// How a line gives an address up.
struct Release {
    const char *name;
    void (*act)(const Host &owner);
};

const Release releases[] = {
    {"ByItsPadt",
     [](const Host &owner) { owner.send(discovery(PADT, mac_s1, mac_h1, {}).bytes()); }},
    {"ByItsLifetime",
     [](const Host &) { std::this_thread::sleep_for(std::chrono::milliseconds(1100)); }},
    {"WithItsPort", [](const Host &) { run("ip link set p1 nomaster"); }},
};

class Address : public BridgeTest, public ::testing::WithParamInterface<Release> {};

INSTANTIATE_TEST_SUITE_P(Limits, Address, ::testing::ValuesIn(releases),
                         [](const auto &row) { return row.param.name; });

TEST_P(Address, StaysOnItsLineUntilReleased) {
    node.bridges[0].bridge_limits.address_life = 1;
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1");
    h1.send(padi(mac_h1));
    ASSERT_TRUE(s1.receive_discovery());
    EXPECT_TRUE(is_lost(padi(mac_h1), h2, s1));
    EXPECT_EQ(1U, outcome(OUTCOME_NOT_ITS_OWN));
    s1.send(discovery(PADO, mac_h1, mac_s1, {}).bytes());
    EXPECT_TRUE(h1.receive_discovery());
    EXPECT_EQ(0U, discovery_heard(h2, s1));
    h2.send(padi(mac_h1, {{0x8100, 7}}));
    EXPECT_TRUE(s1.receive_discovery()) << "another line";

    GetParam().act(h1);
    discovery_heard(s1, h2);
    EXPECT_TRUE(eventually([&] {
        h2.send(padi(mac_h1));
        return discovery_heard(s1, h2) == 1;
    }));
}

class Limits : public BridgeTest {
protected:
    // On one processor: two that charge a bucket at once may let one more pass.
    void SetUp() override {
        cpu_set_t first;
        CPU_ZERO(&first);
        CPU_SET(0, &first);
        sched_setaffinity(0, sizeof first, &first);
        BridgeTest::SetUp();
    }

    // Of so many frames that a host sends, those that come to the engine.
    std::uint64_t passed(const Host &host, const Host &server, const Bytes &frame, int count) {
        const std::uint64_t before = outcome(OUTCOME_HANDED);
        for (int i = 0; i < count; ++i) host.send(frame);
        heard(server, host);  // by then all have come in
        return outcome(OUTCOME_HANDED) - before;
    }
};

TEST_F(Limits, NoSubscriberTakesAServersAddressInAnyVlan) {
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    s1.send(discovery(PADO, broadcast, mac_s1, {{0x8100, 100}}).bytes());
    ASSERT_TRUE(h1.receive_discovery());
    for (const std::vector<Tag> &tags : {std::vector<Tag>{}, {{0x8100, 100}}, {{0x8100, 5}}})
        EXPECT_TRUE(is_lost(padi(mac_s1, tags), h1, s1));
    EXPECT_EQ(3U, outcome(OUTCOME_NOT_ITS_OWN));
}

TEST_F(Limits, ALineIsLimitedAndItsNeighboursAreNot) {
    PortLimits &limits = node.bridges[0].limits;
    limits.line_rate = 1;
    limits.line_burst = 5;
    limits.port_rate = 1;
    limits.port_burst = 20;
    node.interfaces[3].limits.line_rate = 0;  // p2
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1");
    const Bytes unreadable = padi(mac_h1, {{0x9100, 0}});
    EXPECT_EQ(0U, passed(h1, s1, unreadable, 2)) << "charged as well";
    const Bytes own = padi(mac_h1, {{0x8100, 0}});
    EXPECT_EQ(3U, passed(h1, s1, own, 10));
    EXPECT_EQ(7U, outcome(OUTCOME_LIMITED));
    EXPECT_EQ(5U, passed(h1, s1, padi(mac_h1, {{0x8100, 9}}), 10)) << "another line of the port";
    EXPECT_EQ(20U, passed(h2, s1, padi(mac_h2), 25)) << "a port without a limit for each line";
    // Made-up VLANs have the rest of the port's.
    std::uint64_t made_up = 0;
    for (std::uint16_t vlan = 100; vlan < 150; ++vlan)
        made_up += passed(h1, s1, padi(mac_h1, {{0x8100, vlan}}), 1);
    EXPECT_GE(made_up, 10U);
    EXPECT_LE(made_up, 12U);
}

TEST_F(Limits, ALineThatGoesOnIsSilent) {
    PortLimits &limits = node.bridges[0].limits;
    limits.line_rate = 100;
    limits.line_burst = 2;
    limits.line_silence = 1;
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    EXPECT_EQ(2U, passed(h1, s1, padi(mac_h1), 10));
    EXPECT_EQ(1U, outcome(OUTCOME_LIMITED));
    EXPECT_EQ(7U, outcome(OUTCOME_SILENT));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(0U, passed(h1, s1, padi(mac_h1), 1)) << "its rate would let it pass";
    EXPECT_TRUE(eventually([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return passed(h1, s1, padi(mac_h1), 1) == 1;
    }));
}

TEST_F(Limits, BusyLinesGiveWayWhenTheEngineIsBusy) {
    node.bridges[0].limits.line_rate = 1;
    node.bridges[0].limits.line_burst = 40;
    node.bridges[0].bridge_limits.engine_rate = 1;
    start();
    Echo echo("br0");
    const Host h1("h1"), h2("h2"), s1("s1");
    EXPECT_EQ(10U, passed(h1, s1, padi(mac_h1), 40)) << "a quarter of its burst";
    EXPECT_EQ(30U, outcome(OUTCOME_CROWDED));
    EXPECT_EQ(9U, passed(h2, s1, padi(mac_h2), 9));
}

// What is on its way goes on, and the limit holds at once.
TEST_F(Limits, AnotherLimitIsInForceAtOnce) {
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    EXPECT_EQ(30U, passed(h1, s1, padi(mac_h1), 30));
    node.bridges[0].limits.line_rate = 1;
    node.bridges[0].limits.line_burst = 3;
    kernel->limit(node);
    EXPECT_EQ(3U, passed(h1, s1, padi(mac_h1), 30));
    EXPECT_EQ(0U, outcome(OUTCOME_STALE));
}

}  // namespace
}  // namespace ia::node::test
