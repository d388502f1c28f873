// One OLT port with 8 ONUs and 32 GEM ports.
#include "platform/bll/Ports.h"
#include "tests/entity/managed_node.h"

#include <array>
#include <cstdio>
#include <cstring>

using namespace ia::test;
using ia::node::InterfaceType;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint32_t olt = 1;
constexpr std::uint32_t first_onu = 11;  // to 18
constexpr std::uint32_t first_gem = 21;  // to 52, four an ONU
constexpr std::uint32_t onus = 8;
constexpr std::uint32_t gems = 32;

// Id, name, parent, serial and MAC of every port.
std::string tree() {
    std::string all;
    const ia::LockedBridge bridge("br0");
    for (const pppoeia_port &port : bridge->ports)
        if (port.present())
            all += spaced(port.port_id, port.port_name, port.parent_id,
                          "[" + std::string(port.cpe_serial) + "]", int{port.cpe_mac.bytes[0]},
                          int{port.cpe_mac.bytes[5]}) +
                   "\n";
    return all;
}

using Counters = std::array<std::uint32_t, 9>;
static_assert(sizeof(Counters) == sizeof(pppoeia_stats));

Counters counters(const pppoeia_stats &stats) {
    Counters values;
    std::memcpy(values.data(), &stats, sizeof values);
    return values;
}

class Gpon : public ManagedNode {
protected:
    Gpon() {
        described.interfaces = {interface(olt, InterfaceType::olt)};
        for (std::uint32_t n = 0; n < onus; ++n) {
            ia::node::Interface onu = interface(first_onu + n, InterfaceType::onu, olt);
            onu.onu = n + 1;
            onu.serial = "414243440000000" + std::to_string(n);
            onu.mac = {2, 0, 0, 0, 0, static_cast<std::uint8_t>(n + 1)};
            described.interfaces.push_back(onu);
        }
        for (std::uint32_t n = 0; n < gems; ++n) {
            ia::node::Interface gem =
                interface(first_gem + n, InterfaceType::gem, first_onu + n / 4);
            gem.gem = 100 + n;
            described.interfaces.push_back(gem);
        }
    }

    // GEM port p has counted p, 2 p, 3 p ... and 2^30 + 1 bypassed frames.
    void count() {
        engine->look([] {
            const ia::LockedBridge bridge("br0");
            for (std::uint32_t id = first_gem; id < first_gem + gems; ++id)
                bridge->port(id)->stats = {id,     2 * id, 3 * id, 4 * id,    5 * id,
                                           6 * id, 7 * id, 8 * id, 0x40000001};
            return std::string();
        });
    }

    Counters of(unsigned int id) {
        pppoeia_stats stats{};
        EXPECT_EQ(entity.getInterfaceStatistics(id, stats), 0) << id;
        return counters(stats);
    }

    // The record of an interface, changed behind everybody's back.
    template <class Change>
    static void change(std::uint32_t id, Change change) {
        ia::node::registry().change([&](auto &node) { change(node.interfaces.at(id)); });
    }

    static void tell_onu(unsigned int onu, const std::string &serial) {
        Ports::instance().getGponImpl()->onuStateChanged.tell(olt, onu, serial, true);
    }
};

TEST_F(Gpon, TheEngineSeesTheTree) {
    start();
    std::string expected = "1 1/1 0 [] 0 0\n";
    for (std::uint32_t n = 0; n < onus; ++n)
        expected += spaced(11 + n, "1/" + std::to_string(11 + n), 1,
                           "[ABCD0000000" + std::to_string(n) + "]", 2, n + 1) +
                    "\n";
    for (std::uint32_t n = 0; n < gems; ++n)
        expected += spaced(21 + n, "1/" + std::to_string(21 + n), 11 + n / 4, "[] 0 0\n");
    EXPECT_EQ(engine->look(tree), expected);
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gpon, ParentsCountWhatTheirGemPortsDo) {
    start();
    count();
    EXPECT_EQ(of(21), (Counters{21, 42, 63, 84, 105, 126, 147, 168, 0x40000001}));
    // 21 to 24 are 90, 21 to 52 are 1168; the last counter wraps.
    EXPECT_EQ(of(11), (Counters{90, 180, 270, 360, 450, 540, 630, 720, 4}));
    EXPECT_EQ(of(olt), (Counters{1168, 2336, 3504, 4672, 5840, 7008, 8176, 9344, 32}));

    for (const unsigned int gem : {49U, 50U, 51U, 52U})
        Interfaces::instance().portDeleted.ask("br0", static_cast<int>(gem));
    pppoeia_stats stats{};
    EXPECT_EQ(entity.getInterfaceStatistics(18, stats), 1) << "the registry has them still";
    EXPECT_EQ(entity.getInterfaceStatistics(olt, stats), 1);
    ia::node::registry().change([](ia::node::NodeState &node) {
        for (const std::uint32_t gem : {49U, 50U, 51U, 52U}) node.interfaces.erase(gem);
    });
    EXPECT_EQ(of(18), Counters{}) << "no children";
    EXPECT_EQ(of(olt)[0], 1168U - 49 - 50 - 51 - 52);
    EXPECT_EQ(entity.getInterfaceStatistics(77, stats), 1);

    EXPECT_EQ(entity.resetInterfaceStatistics(21), 0);
    EXPECT_EQ(of(11)[0], 69U);
    const auto have_gpon = [](bool active) {
        ia::node::registry().change([&](ia::node::NodeState &node) { node.gpon = active; });
    };
    have_gpon(false);
    EXPECT_EQ(of(11), Counters{}) << "without the feature, its own";
    have_gpon(true);  // or the stop would leave the ONUs' handler behind
}

std::string gem_port() {
    const ia::LockedBridge bridge("br0");
    const pppoeia_port &port = *bridge->port(first_gem);
    return spaced(port.port_name, port.parent_id, port.location.gem, port.stats.padi);
}

TEST_F(Gpon, GemEventsOfEachKind) {
    start();
    const struct {
        std::uint32_t kind;
        const char *after;  // name, parent, GEM number, counter
    } rows[] = {
        {1, "1/21 11 100 21"}, {3, "1/21 11 100 21"}, {4, "1/21 11 100 21"},
        {0, "1/0 12 500 21"},  {2, "1/2 12 502 0"},
    };
    for (const auto &row : rows) {
        count();
        change(first_gem, [&](ia::node::Interface &gem) {
            gem.name = "1/" + std::to_string(row.kind);
            gem.gem = 500 + row.kind;
        });
        EXPECT_TRUE(
            entity.GPONGemEvent(first_gem, 12, 500, Interfaces::interfaceGPONEvent_t(row.kind)));
        EXPECT_EQ(engine->look(gem_port), row.after) << row.kind;
    }
    EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(Gpon, GemEventsThatFail) {
    start();
    EXPECT_FALSE(entity.GPONGemEvent(77, 11, 5, Interfaces::gponGemAdded));
    EXPECT_TRUE(entity.GPONGemEvent(77, 11, 5, Interfaces::gponGemDeleted));
    know(interface(60, InterfaceType::gem, 11));  // no port of the bridge
    EXPECT_TRUE(entity.GPONGemEvent(60, 11, 5, Interfaces::gponGemMoved));
    EXPECT_THAT(
        logged(),
        ElementsAre("3 Error mapping intf id to intf name for intf=77\n",
                    "4 pppoeia:656:GPONGemEvent:PPPOE ERROR - pppoeia_port_name_update() failed "
                    "for intf: 60\n",
                    "4 pppoeia:662:GPONGemEvent:PPPOE ERROR - pppoeia_port_parent_set() failed "
                    "for intf: 60parent: 11\n",
                    "3 pppoeia::GPONGemEvent error 1 intfid: 60parentid: 11gemid: 5 type: 2"));
}

std::string onu() {
    const ia::LockedBridge bridge("br0");
    const pppoeia_port &port = *bridge->port(first_onu);
    return spaced(port.cpe_serial, int{port.cpe_mac.bytes[5]});
}

TEST_F(Gpon, OnuSerials) {
    start();
    const std::string line = "3 pppoeia::onuStateChangeEvent: ";
    const struct {
        const char *serial;
        const char *after;
        Lines logged;
    } rows[] = {
        {"414243441234ABCD", "ABCD1234ABCD 1", {}},
        {"4b4F525612345678", "KORV12345678 1", {}},
        {"4142434", "KORV12345678 1", {line + "invalid serial for intf 11.\n"}},
        {"410043441234ABCD", "KORV12345678 1", {line + "invalid serial for intf 11.\n"}},
        {"414243G41234ABCD", "KORV12345678 1", {line + "invalid serial for intf 11.\n"}},
        {"", "KORV12345678 1", {line + "invalid serial for intf 11.\n"}},
        {"41424344", "ABCD 1", {}},
    };
    for (const auto &row : rows) {
        tell_onu(1, row.serial);
        EXPECT_EQ(engine->look(onu), row.after) << row.serial;
        EXPECT_EQ(logged(), row.logged) << row.serial;
    }
}

TEST_F(Gpon, OnuEventsThatFailKeepWhatWasStored) {
    start();
    change(first_onu, [](ia::node::Interface &onu) { onu.mac.reset(); });
    tell_onu(1, "4B4F525612345678");
    EXPECT_EQ(engine->look(onu), "KORV12345678 1");
    tell_onu(99, "414243441234ABCD");
    ia::node::Interface stranger = interface(60, InterfaceType::onu, olt);  // no port of the bridge
    stranger.onu = 9;
    know(stranger);
    tell_onu(9, "414243441234ABCD");
    EXPECT_THAT(
        logged(),
        ElementsAre("3 pppoeia::onuStateChangeEvent: Invalid MAC string length: 0.\n",
                    "3 pppoeia::onuStateChangeEvent: interfaceGetIdByOMApiInterface failed for "
                    "portId 1, onuId 99.\n",
                    "3 pppoeia::onuStateChangeEvent: pppoeia_bridge_cpe_serial_set failed for "
                    "intf 60.\n"));
}

TEST_F(Gpon, ListsOfSubscribersLeaveParentsOut) {
    described.interfaces.back().gem_in_use = false;
    described.interfaces.push_back(interface(2, InterfaceType::eth));
    start();
    std::list<pppoeia::interfaceInfo_t> list(3);
    EXPECT_EQ(entity.getInterfaceInfo(list, false), 0);
    EXPECT_EQ(list.size(), 1 + onus + gems + 1);
    EXPECT_EQ(entity.getInterfaceInfo(list, true), 0);
    EXPECT_EQ(list.size(), gems - 1 + 1) << "the last one is not in use";
    EXPECT_EQ(list.front().ifIndex, 2U);
    EXPECT_EQ(list.back().ifIndex, first_gem + gems - 2);

    know(interface(60, InterfaceType::dsl));  // no port of the bridge
    EXPECT_EQ(entity.getInterfaceInfo(list, true), 1);
    EXPECT_THAT(list, IsEmpty());
}

}  // namespace
