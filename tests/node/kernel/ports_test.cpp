// Devices that come, go and change while the engine runs.
#include "platform/frame_hold.h"
#include "pppoeia/node.h"
#include "tests/node/kernel/fixture.h"

#include <gmock/gmock.h>
#include <algorithm>
#include <cerrno>

namespace ia::node::test {
namespace {

using ::testing::HasSubstr;

class PortsFollow : public BridgeTest {
protected:
    // "held", "<bridge> <id>" or "absent".
    std::string port(const std::string &device) const {
        for (const PortStatus &status : kernel->ports())
            if (status.device == device)
                return status.held ? "held"
                                   : status.bridge + ' ' + std::to_string(status.id) +
                                         (status.network && status.id > 2 ? " network" : "");
        return "absent";
    }

    bool becomes(const std::string &device, const std::string &state) const {
        return eventually([&] { return port(device) == state; });
    }

    static std::string filters(const std::string &device) {
        return output_of("tc filter show dev " + device + " ingress; tc filter show dev " + device +
                         " egress");
    }
};

TEST_F(PortsFollow, WhatTheBridgeHasAndTheDescriptionNames) {
    add_port("x1 y1");
    run("ip link add e1 type veth peer name e2; ip link add m1 type veth peer name m2");
    node.interfaces.push_back(interface(20, InterfaceType::gem, "e1"));  // waits outside
    node.interfaces.push_back(interface(21, InterfaceType::mng, "m1"));  // belongs outside
    start();
    EXPECT_EQ("br0 11", port("p1"));
    EXPECT_EQ("br0 1", port("n1"));
    EXPECT_EQ("held", port("x1"));
    EXPECT_EQ("held", port("e1"));
    EXPECT_EQ("absent", port("m1"));
    EXPECT_EQ("absent", port("h1"));
    EXPECT_EQ("absent", port("br0"));
}

TEST_F(PortsFollow, BoundByCalls) {
    using platform::bind_port;
    using platform::unbind_port;
    run("ip link add e1 type veth peer name e2");
    start();
    Echo echo("br0");
    ASSERT_EQ(0, bind_port("br0", 7, "p1", side_subscriber));
    EXPECT_EQ("br0 7", port("p1"));
    EXPECT_EQ("br0 300", port("p2"));
    ASSERT_EQ(0, bind_port("br0", 1, "n1", side_network));
    ASSERT_EQ(0, bind_port("br0", 9, "e1", side_subscriber));
    EXPECT_EQ("held", port("e1")) << "waits to join";

    ASSERT_EQ(0, bind_port("br0", 7, "p2", side_subscriber)) << "another device";
    EXPECT_EQ("held", port("p1"));
    EXPECT_EQ("br0 7", port("p2"));
    ASSERT_EQ(0, bind_port("br0", 8, "p2", side_subscriber)) << "another port";
    EXPECT_EQ("br0 8", port("p2"));
    const Host h2("h2"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h2, {}).bytes();
    EXPECT_TRUE(arrives(padi, h2, s1));
    ASSERT_EQ(0, bind_port("br0", 8, "p2", side_network)) << "another side";
    EXPECT_EQ("br0 8 network", port("p2"));

    ASSERT_EQ(0, unbind_port("br0", 8));
    ASSERT_EQ(0, unbind_port("br0", 9));
    EXPECT_EQ("held", port("p2"));
    EXPECT_EQ("", filters("e1"));
    const struct {
        const char *bridge;
        std::uint32_t port;
        const char *device;
        std::uint32_t side;
    } refused[] = {{"", 1, "p1", 0},
                   {"br0", 0, "p1", 0},
                   {"br0", 65536, "p1", 0},
                   {"br0", 1, "", 0},
                   {"br0", 1, "a-name-of-sixteen", 0},
                   {"br0", 1, "p1", 2}};
    for (const auto &row : refused)
        EXPECT_EQ(-EINVAL, bind_port(row.bridge, row.port, row.device, row.side)) << row.device;
}

TEST_F(PortsFollow, BridgesDescribedByCalls) {
    using platform::describe_bridge;
    node.bridges[0].device = "br0";
    node.bridges[0].name = "access";
    for (Interface &each : node.interfaces) each.bridge = "access";
    run("ip link add lan up type bridge");
    add_port("p4 h4", "lan");
    start();
    EXPECT_EQ("access 11", port("p1"));
    ASSERT_EQ(0, describe_bridge("access", "lan", 0x88A8, 1500));
    EXPECT_EQ("absent", port("p1")) << "in a bridge that is not the agent's";
    EXPECT_EQ("held", port("p4"));
    ASSERT_EQ(0, platform::bind_port("access", 4, "p4", side_subscriber));
    EXPECT_EQ("access 4", port("p4"));
    EXPECT_EQ(-EINVAL, describe_bridge("access", "lan", 0x8863, 1500));
    EXPECT_EQ(-EINVAL, describe_bridge("access", "lan", 0x88A8, 9729));
    ASSERT_EQ(0, describe_bridge("access", "", 0, 0));
    EXPECT_EQ("", filters("p4"));
}

TEST_F(PortsFollow, AnUndescribedMemberNeitherSendsNorReceives) {
    start();
    Echo echo("br0");
    add_port("x1 y1");
    ASSERT_TRUE(becomes("x1", "held"));
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 5; }));
    const Host h1("h1"), s1("s1"), y1("y1");
    EXPECT_TRUE(is_lost(discovery(PADI, broadcast, mac_h2, {{0x8100, 1}}).bytes(), y1, s1));
    EXPECT_EQ(1U, outcome(OUTCOME_NO_PORT));
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
    EXPECT_EQ(0U, discovery_heard(y1, h1));
}

TEST_F(PortsFollow, ADescribedDeviceThatComesLater) {
    node.interfaces.push_back(interface(12, InterfaceType::gem, "p3"));
    start();
    Echo echo("br0");
    EXPECT_EQ("absent", port("p3"));
    add_port("p3 h3");
    ASSERT_TRUE(becomes("p3", "br0 12"));
    const Host h3("h3"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {{0x8100, 1}}).bytes();
    EXPECT_TRUE(arrives(padi, h3, s1));
    run("ip link del p3");
    EXPECT_TRUE(becomes("p3", "absent"));
}

TEST_F(PortsFollow, ARenamedDeviceAndOnesThatSwapNames) {
    start();
    run("ip link set p1 down; ip link set p1 name q1; ip link set q1 up");
    EXPECT_TRUE(becomes("q1", "held"));
    run("ip link set p2 down; ip link set p2 name p1; ip link set p1 up;"
        "ip link set q1 down; ip link set q1 name p2; ip link set p2 up");
    ASSERT_TRUE(becomes("p1", "br0 11") && becomes("p2", "br0 300"));
    Echo echo("br0");
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 4; }));
    const Host h1("h1"), h2("h2"), s1("s1");  // h1 is behind p2 now
    h1.send(discovery(PADI, broadcast, mac_h1, {}).bytes());
    ASSERT_TRUE(s1.receive_discovery());
    const Bytes pado = discovery(PADO, mac_h1, mac_s1, {}).bytes();
    EXPECT_TRUE(arrives(pado, s1, h1));
    EXPECT_EQ(0U, discovery_heard(h2, s1));
}

TEST_F(PortsFollow, ADeviceThatLeavesTheBridge) {
    add_port("x1 y1");
    start();
    run("ip link set x1 nomaster; ip link set p1 nomaster");
    EXPECT_TRUE(becomes("x1", "absent"));
    EXPECT_EQ("", filters("x1"));
    EXPECT_TRUE(becomes("p1", "held"));  // described: waits to come back
    run("ip link set p1 master br0");
    EXPECT_TRUE(becomes("p1", "br0 11"));
}

// A spanning tree listens for two seconds and learns for two more.
TEST_F(PortsFollow, APortThatDoesNotForwardIsNoWay) {
    run("ip link set br0 type bridge stp_state 1 forward_delay 200");
    start();
    Echo echo("br0");
    run("ip link set n2 down; ip link set n2 up");
    ASSERT_TRUE(becomes("n2", "held"));
    const Host h1("h1"), s1("s1"), s2("s2");
    ASSERT_TRUE(eventually([&] {  // the peer's queue opens a little after its carrier
        s2.send(discovery(PADI, broadcast, mac_h1, {}).bytes());
        return outcome(OUTCOME_NO_PORT) > 0;
    }));
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}, 1).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
    EXPECT_EQ(1U, outcome(OUTCOME_SENT));  // to n1 alone
    ASSERT_TRUE(becomes("n2", "br0 2"));
    EXPECT_TRUE(arrives(padi, h1, s2));
}

TEST_F(PortsFollow, ABridgeThatIsMadeAnew) {
    start();
    run("ip link del br0");
    EXPECT_TRUE(becomes("p1", "held"));
    run("ip link add br0 up type bridge; for d in p1 p2 n1; do ip link set $d master br0; done");
    EXPECT_TRUE(becomes("p1", "br0 11") && becomes("n1", "br0 1"));
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 3; }));
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
}

TEST_F(PortsFollow, FiltersTakenAwayByHandComeBack) {
    start();
    Echo echo("br0");
    for (const char *removal : {"tc filter del dev p1 ingress", "tc filter del dev p1 egress",
                                "tc qdisc del dev p1 clsact"}) {
        run(removal);
        EXPECT_TRUE(eventually([] {
            const std::string there = filters("p1");
            return there.find("pppoeia_enter") != there.npos &&
                   there.find("pppoeia_guard") != there.npos;
        })) << removal;
    }
    run("tc qdisc del dev br0_pppoe clsact");
    EXPECT_TRUE(
        eventually([] { return filters("br0_pppoe").find("pppoeia_leave") != std::string::npos; }));
}

// At one priority the kernel runs the last one first.
TEST_F(PortsFollow, AFilterPutInFrontLater) {
    run("tc qdisc add dev n2 clsact;"
        "tc filter add dev n2 ingress prio 1 protocol ip bpf bytecode '1,6 0 0 0,'"
        " flowid 1:1");
    start();
    EXPECT_THAT(filters("n2"), HasSubstr("pppoeia_enter")) << "behind another kind";
    Echo echo("br0");
    for (const char *direction : {"ingress", "egress"}) {
        const std::string at = std::string(" dev p1 ") + direction;
        const std::string ours = direction == std::string("ingress") ? "_enter" : "_guard";
        run("tc filter add" + at +
            " prio 1 protocol all bpf bytecode '1,6 0 0 4294967295,' flowid 1:1");
        EXPECT_TRUE(eventually([&] {
            const std::string there = output_of("tc filter show" + at);
            return there.find("pppoeia" + ours) < there.find("bytecode");
        })) << direction;
        const std::string there = output_of("tc filter show" + at);
        EXPECT_EQ(there.find(" pppoeia" + ours + ":"), there.rfind(" pppoeia" + ours + ":"))
            << "once\n"
            << there;
    }
    const Host h1("h1"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
    EXPECT_EQ(1U, outcome(OUTCOME_HANDED));
}

TEST_F(PortsFollow, APseudoDeviceSetDownComesUpAgain) {
    start();
    Echo echo("br0");
    run("ip link set br0_pppoe down");
    ASSERT_TRUE(eventually(
        [] { return output_of("ip -o link show br0_pppoe").find(",UP") != std::string::npos; }));
    const Host h1("h1"), s1("s1");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
}

TEST_F(PortsFollow, APseudoDeviceTakenAwayHolds) {
    start();
    Echo echo("br0");
    const Host h1("h1"), s1("s1");
    run("ip link del br0_pppoe");
    EXPECT_TRUE(is_lost(discovery(PADI, broadcast, mac_h1, {}).bytes(), h1, s1));
    echo.stop_reading();
    echo.close_bridge();
    Echo again("br0");
    EXPECT_EQ(0, again.reused());
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}, 1).bytes();
    EXPECT_TRUE(arrives(padi, h1, s1));
}

TEST_F(PortsFollow, OtherBridgesAndPortsWhileItRuns) {
    using platform::bind_port;
    start();
    Echo echo("br0");
    run("ip link add br1 up type bridge");
    add_port("p4 h4", "br1");
    ASSERT_EQ(0, platform::describe_bridge("br1", "br1", 0x88A8, 1500));
    ASSERT_EQ(0, bind_port("br0", 77, "p1", side_subscriber));
    ASSERT_EQ(0, bind_port("br0", 300, "p2", side_network));
    ASSERT_EQ(0, bind_port("br0", 5, "p4", side_subscriber));
    EXPECT_EQ("br0 77", port("p1"));
    EXPECT_EQ("held", port("p4")) << "in another bridge than its port";
    const Host h1("h1"), h2("h2");
    const Bytes padi = discovery(PADI, broadcast, mac_h1, {}).bytes();
    EXPECT_TRUE(arrives(padi, h1, h2));  // faces the network now; still attached

    ASSERT_EQ(0, platform::describe_bridge("br0", "", 0, 0));
    ASSERT_EQ(0, bind_port("br1", 5, "p4", side_subscriber));
    EXPECT_EQ("br1 5", port("p4"));
    EXPECT_EQ("absent", port("p1"));
    EXPECT_EQ("", filters("p1"));
}

TEST_F(PortsFollow, ManyPortsAtOnce) {
    for (unsigned id = 100; id < 200; ++id)
        node.interfaces.push_back(
            interface(id, InterfaceType::gem, ("g" + std::to_string(id)).c_str()));
    start();
    run("for i in $(seq 100 199); do ip link add g$i mtu 1512 type veth peer name k$i mtu 1512;"
        " ip link set k$i up; ip link set g$i up master br0; done");
    for (unsigned id = 100; id < 200; ++id)
        EXPECT_TRUE(becomes("g" + std::to_string(id), "br0 " + std::to_string(id)));
    ASSERT_TRUE(eventually([] { return forwarding_ports() == 104; }));
    Echo echo("br0");
    const Host k100("k100"), k199("k199"), s1("s1");
    const Bytes pado = discovery(PADO, broadcast, mac_s1, {}).bytes();
    EXPECT_TRUE(arrives(pado, s1, k100));
    EXPECT_EQ(pado, k199.receive_discovery());
}

}  // namespace
}  // namespace ia::node::test
