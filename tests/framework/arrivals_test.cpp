// What is held before it is announced, and what is told to have arrived.
#include "node/framework/changes.h"
#include "tests/framework/recorder.h"
#include "tests/support/interface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>

namespace {

using namespace ia::node;
using testing::ElementsAre;

class Follower : public ia::test::Recorder {
public:
    bool can_hold = true;

    bool hold(const std::string &bridge, std::uint32_t port) override {
        note("hold", bridge, port);
        return can_hold;
    }
    void arrived(const Arrivals &arrivals) override {
        for (const std::string &bridge : arrivals.bridges) note("arrived", bridge);
        for (const auto &[bridge, vlan] : arrivals.vlans) note("arrived", bridge, "vlan", vlan);
        for (const auto &[bridge, port] : arrivals.ports) note("arrived", bridge, "port", port);
        note("all");
    }
};

Follower &follower() {
    static Follower the_follower;
    return the_follower;
}

Interface port(std::uint32_t id) {
    Interface made = ia::test::interface(id, InterfaceType::access);
    made.settings.role = 1;
    return made;
}

std::vector<std::string> announce(const Description &node) {
    announce_changes(node, follower());
    return std::exchange(follower().lines, {});
}

TEST(Arrivals, HeldFirstAndToldLast) {
    follower().subscribe();
    Description node;
    node.bridges = {{.name = "br0"}};
    node.vlans = {{.id = 7, .name = "", .bridge = "br0"}};
    node.interfaces = {port(1)};
    begin_registry(node);
    // Its bridge holds for a port that comes with it.
    EXPECT_THAT(announce(node),
                ElementsAre("hold br0 0", "+bridge br0 256", "[agent] enabled = true",
                            "+vlan br0 7", "[[vlan]] id = 7 enabled = true", "+port br0 1 1/1",
                            "[[port]] id = 1 role = \"client\"", "arrived br0",
                            "arrived br0 vlan 7", "arrived br0 port 1", "all"));
    node.interfaces.push_back(port(2));
    EXPECT_THAT(announce(node),
                ElementsAre("hold br0 2", "+port br0 2 1/2", "[[port]] id = 2 role = \"client\"",
                            "arrived br0 port 2", "all"));
    // A changed setting is no arrival, and a port that goes none either.
    node.interfaces[0].settings.role = 3;
    node.interfaces.pop_back();
    EXPECT_THAT(announce(node),
                ElementsAre("-port br0 2 1/2", "[[port]] id = 1 role = \"both\"", "all"));
    // Frames that cannot be held would pass unmarked: the port waits outside.
    node.interfaces.push_back(port(2));
    follower().can_hold = false;
    EXPECT_THAT(announce(node), ElementsAre("hold br0 2", "all"));
    follower().can_hold = true;
    EXPECT_THAT(announce(node),
                ElementsAre("hold br0 2", "+port br0 2 1/2", "[[port]] id = 2 role = \"client\"",
                            "arrived br0 port 2", "all"));
}

}  // namespace
