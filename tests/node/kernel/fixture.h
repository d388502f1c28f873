// The access node of these tests: bridge br0, subscribers h1 and h2 behind the
// ports p1 and p2, the network's hosts s1 and s2 behind n1 and n2.
#pragma once

#include "node/kernel/kernel.h"
#include "platform/frame_hold.h"
#include "tests/node/kernel/network.h"

#include <gtest/gtest.h>
#include <memory>

namespace ia::node::test {

inline constexpr Mac mac_h1{0x02, 0, 0, 0, 0x01, 0x01};
inline constexpr Mac mac_h2{0x02, 0, 0, 0, 0x01, 0x02};
inline constexpr Mac mac_s1{0x02, 0, 0, 0, 0x02, 0x01};
inline constexpr Mac mac_s2{0x02, 0, 0, 0, 0x02, 0x02};

inline constexpr std::uint8_t PADI = 0x09, PADO = 0x07, PADR = 0x19, PADS = 0x65, PADT = 0xA7;

class BridgeTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const auto what = missing()) {
            if (std::getenv("PPPOEIA_REQUIRE_ROOT_TESTS")) FAIL() << "needs " << *what;
            GTEST_SKIP() << "needs " << *what;
        }
        run("for c in all default; do f=/proc/sys/net/ipv6/conf/$c/disable_ipv6;"
            " test ! -e $f || echo 1 > $f; done");
        run("ip link add br0 up type bridge mcast_snooping 0");
        for (const char *pair : {"p1 h1", "p2 h2", "n1 s1", "n2 s2"}) add_port(pair);
        ASSERT_TRUE(eventually([] { return forwarding_ports() == 4; }));
        node = description();
    }

    static std::size_t forwarding_ports() {
        const std::string listing = output_of("bridge link");
        std::size_t count = 0;
        for (auto at = listing.find("state forwarding"); at != listing.npos;
             at = listing.find("state forwarding", at + 1))
            ++count;
        return count;
    }

    // "port host": a pair of devices, the first one a port of br0. Room for a
    // full frame behind three tags.
    static void add_port(const std::string &pair, const std::string &bridge = "br0") {
        const std::string port = pair.substr(0, pair.find(' '));
        const std::string host = pair.substr(pair.find(' ') + 1);
        run("ip link add " + port + " mtu 1512 type veth peer name " + host + " mtu 1512");
        run("ip link set " + host + " up; ip link set " + port + " up master " + bridge);
    }

    static Interface interface(std::uint32_t id, InterfaceType type, const char *device) {
        Interface made;
        made.id = id;
        made.type = type;
        made.name = device;
        made.device = device;
        made.bridge = "br0";
        return made;
    }

    static Description description() {
        Description made;
        made.file = "node.toml";
        made.bridges.resize(1);
        made.bridges[0].name = "br0";
        made.bridges[0].limits.line_rate = made.bridges[0].limits.port_rate = 0;
        made.bridges[0].bridge_limits.checks = Checks::off;
        made.interfaces = {
            interface(1, InterfaceType::eth, "n1"), interface(2, InterfaceType::lag, "n2"),
            interface(11, InterfaceType::gem, "p1"), interface(300, InterfaceType::access, "p2")};
        return made;
    }

    // The kernel, and what the management process tells it: which device is which port.
    void start() {
        kernel = std::make_unique<Kernel>(node);
        bind_ports();
    }
    void bind_ports() const {
        for (const Interface &each : node.interfaces) {
            if (!facts_of(each.type).stands_in_bridge) continue;
            ASSERT_EQ(0, platform::bind_port(each.bridge.c_str(), each.id, each.device.c_str(),
                                             facts_of(each.type).faces_network))
                << each.device;
        }
    }

    std::uint64_t outcome(frame_outcome which) const { return kernel->outcomes()[which]; }

    // An ARP frame that everybody receives past the engine: what was sent before
    // it on the same way is there when it comes.
    static Bytes mark(std::uint8_t number) {
        return Frame{broadcast, {0x02, 0, 0, 0, 0xEE, number}, {}, 0x0806, Bytes(46, number)}
            .bytes();
    }

    // What came to a host until a mark sent by another.
    static std::vector<Bytes> heard(const Host &host, const Host &other) {
        static std::uint8_t number = 0;
        const Bytes last = mark(++number);
        other.send(last);
        return host.receive_until(last);
    }

    static std::size_t discovery_heard(const Host &host, const Host &other) {
        std::size_t count = 0;
        for (const Bytes &frame : heard(host, other)) count += is_discovery(frame);
        return count;
    }

    // What one host sends comes to the other as it was, or not at all.
    static ::testing::AssertionResult arrives(const Bytes &frame, const Host &from,
                                              const Host &to) {
        from.send(frame);
        const std::optional<Bytes> got = to.receive_discovery();
        if (got == frame) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "came as " << ::testing::PrintToString(got.value_or(Bytes{}));
    }
    static ::testing::AssertionResult is_lost(const Bytes &frame, const Host &from,
                                              const Host &to) {
        from.send(frame);
        const std::size_t heard_there = discovery_heard(to, from);
        if (heard_there == 0) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << heard_there << " came";
    }

    Description node;
    std::unique_ptr<Kernel> kernel;
};

}  // namespace ia::node::test
