// Start, stop, and which request each of the node's events turns into.
#include "node/framework/framework.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/sysInfo.h"
#include "tests/client/operation_rows.h"
#include "tests/client/recorder.h"
#include "tests/entity/managed_node.h"
#include "tests/support/terminal.h"

using namespace ia::test;
using ia::node::InterfaceType;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

void message(const std::string &command, const std::string &argument, const std::string &target) {
    BLLManager::instance().externalMessage.tell(command, argument,
                                                static_cast<std::ostringstream *>(nullptr), target);
}

// An OLT port 1 with ONU 11 and, on that, GEM port 21.
ia::node::Description gpon_node() {
    ia::node::Interface onu = interface(11, InterfaceType::onu, 1);
    onu.onu = 1;
    ia::node::Description node;
    node.interfaces = {interface(1, InterfaceType::olt), onu,
                       interface(21, InterfaceType::gem, 11)};
    return node;
}

class Lifecycle : public ManagedNode {
protected:
    // The node as lookups see it, with nothing announced.
    static void look_like(const ia::node::Description &node) {
        ia::node::registry().change(
            [&](ia::node::NodeState &state) { state = ia::node::NodeState(node); });
    }

    // From here on every request is kept, and refused.
    void record() {
        engine.reset();
        requests.emplace(path);
        clear_syslog();
    }

    std::optional<Recorder> requests;
};

// The last request that each event makes; the first, where that is refused.
struct EventRow {
    const char *name;
    void (*raise)();
    Bytes asked;
    bool after_stop = false;
};

const EventRow events[] = {
    {"external message", [] { message("pppoe_debug", "1", ""); }, request(2, {u32(7)})},
    {"bridge added", [] { EXPECT_TRUE(Interfaces::instance().bridgeAdded.ask("br0", 8U)); },
     request(6, {text("br0"), u32(8)})},
    {"bridge deleted", [] { kvbridge::instance().bridgeDeleted.ask("br7"); },
     request(7, {text("br7")})},
    {"port added", [] { Interfaces::instance().portAdded.tell("br0", 1); },
     request(29, {text("br0"), u32(1), text("dev1"), text("1/1"),
                  block(48,
                        "00000000 6f6c7400 00000000 00000000 06000000"
                        "00000000 00000000 00000000 02000000 00000000 00000000 00000000")})},
    {"port deleted", [] { Interfaces::instance().portDeleted.ask("br0", 1); },
     request(30, {text("br0"), u32(1)})},
    {"GEM port", [] { Interfaces::instance().gponGem.tell(21, 11, 5, Interfaces::gponGemAdded); },
     request(51, {text("br0"), u32(21), u32(11)})},
    {"shelf id", [] { sysInfo::instance().shelfIdChanged.tell(std::string("S2")); },
     request(25, {text("br0"), text("S2")})},
    {"configuration applied", [] { BLLManager::instance().configurationApplyStart.tell(); },
     request(44, {u32(0)}), true},
    {"... to its end", [] { BLLManager::instance().configurationApplyStop.tell(3); },
     request(44, {u32(1)}), true},
    {"configuration cleared", [] { CliConfig::instance().clearConfigStart.tell(); },
     request(44, {u32(2)}), true},
    {"... to its end", [] { CliConfig::instance().clearConfigStop.tell(); }, request(44, {u32(3)}),
     true},
    {"configuration saved", [] { CliConfig::instance().saveConfigStart.tell(); },
     request(44, {u32(4)}), true},
    {"... to its end", [] { CliConfig::instance().saveConfigStop.tell(); }, request(44, {u32(5)}),
     true},
    {"VLAN added", [] { kvbridge::instance().vlanAdded.tell("brX", std::uint16_t{100}); },
     request(79, {text("br0"), u16(100)})},
    {"VLAN deleted", [] { kvbridge::instance().vlanDeleted.tell("brX", std::uint16_t{100}); },
     request(80, {text("br0"), u16(100)})},
    {"ONU",
     [] {
         Ports::instance().getGponImpl()->onuStateChanged.tell(
             1U, 1U, std::string("414243441234ABCD"), true);
     },
     request(85, {text("br0"), u32(11), text("ABCD1234ABCD")})},
};

TEST_F(Lifecycle, EventsAreFollowedFromStartToStop) {
    look_like(gpon_node());
    ASSERT_TRUE(entity.start());
    record();
    for (const EventRow &row : events) {
        row.raise();
        EXPECT_EQ(to_hex(requests->take()), to_hex(row.asked)) << row.name;
    }
    clear_syslog();
    EXPECT_FALSE(entity.stop()) << "the engine refuses its own end";
    EXPECT_THAT(logged(), ElementsAre("3 PPPoE IA unsubscribe.\n"));
    EXPECT_EQ(to_hex(requests->take()), to_hex(request(1, {})));
    for (const EventRow &row : events) {
        row.raise();
        EXPECT_EQ(to_hex(requests->take()), to_hex(row.after_stop ? row.asked : Bytes{}))
            << row.name << ", stopped";
    }
}

TEST_F(Lifecycle, StartedTwiceEveryEventCountsTwiceUntilTheStop) {
    look_like({});
    ASSERT_TRUE(entity.start());
    EXPECT_FALSE(entity.start()) << "its RPC service runs";
    record();
    const auto raise = [] { kvbridge::instance().vlanAdded.tell("br0", std::uint16_t{100}); };
    raise();
    const std::string line = "3 pppoeia::vlanAdd: pppoeia_vlan_add error.\n";
    EXPECT_THAT(logged(), ElementsAre(line, line));
    entity.stop();
    requests->take();
    raise();
    EXPECT_THAT(requests->take(), IsEmpty());
}

TEST_F(Lifecycle, WithoutAnEngineNothingIsFollowed) {
    look_like({});
    engine.reset();
    clear_syslog();
    EXPECT_FALSE(entity.start());
    EXPECT_THAT(logged(), ElementsAre("3 Error initializing pppoeia module.\n"));
    record();
    message("pppoe_debug", "1", "");
    kvbridge::instance().vlanAdded.tell("br0", std::uint16_t{100});
    EXPECT_THAT(requests->take(), IsEmpty());
}

TEST_F(Lifecycle, DiagnosticCommandsAreRouted) {
    look_like({});
    ASSERT_TRUE(entity.start());
    record();
    const struct {
        const char *command;
        const char *argument;
        Bytes asked;
    } rows[] = {
        {"pppoe_debug", "", request(2, {u32(7)})},
        {"pppoe_debug", "0", request(2, {u32(3)})},
        {"pppoe_debug", "00", request(2, {u32(7)})},
        {"pppoeiaDump", "12", request(70, {text("br0"), u32(12), text("/dev/t")})},
        {"pppoeiaDump", "", request(70, {text("br0"), u32(0), text("/dev/t")})},
        {"pppoeiaTestDump", "9", request(71, {text("br0"), text("/dev/t")})},
        {"pppoeiaTestSetVlan", "5",
         request(72, {text("br0"), text("pppoeiaTestSetVlan"), text("5"), text("/dev/t")})},
        {"pppoeiaTestSet", "",
         request(72, {text("br0"), text("pppoeiaTestSet"), text(""), text("/dev/t")})},
        {"pppoeiaTestRunCid", "test",
         request(74, {text("br0"), text("pppoeiaTestRunCid"), text("test"), text("/dev/t")})},
        {"pppoeiaTestDebug", "1", request(73, {text("br0"), u32(1), text("/dev/t")})},
        {"pppoeiaTestSe", "1", {}},
        {"pppoeiaDumps", "1", {}},
        {"pppoeiadump", "1", {}},
        {"", "", {}},
    };
    for (const auto &row : rows) {
        message(row.command, row.argument, "/dev/t");
        EXPECT_EQ(to_hex(requests->take()), to_hex(row.asked)) << row.command << row.argument;
    }
}

TEST_F(Lifecycle, ReportsReachTheOperatorsTerminal) {
    start();
    const Terminal terminal;
    message("pppoeiaTestSetVlan", "77", terminal.path());
    EXPECT_EQ(terminal.written(), "\nSetting vlan: 77\n\n");
}

TEST_F(Lifecycle, DefaultsAreAppliedToTheBridgeThereIs) {
    ia::engine_path = "/nonexistent";
    EXPECT_TRUE(entity.applyDefaultSettings()) << "no bridge, nobody is asked";
    ia::engine_path = path.c_str();
    ia::node::Framework framework(calls, "");
    ASSERT_TRUE(framework.start(described));
    ASSERT_EQ(pppoeia_bridge_vsa_insert_remote_id_set("br0", 0), 0);
    EXPECT_TRUE(framework.clear_configuration());
    constexpr EngineProcess::Look insert = [] {
        return std::to_string(ia::LockedBridge("br0")->vsa_insert_remote_id);
    };
    EXPECT_EQ(engine->look(insert), "1");
    EXPECT_TRUE(framework.stop());
    engine->kill();
    EXPECT_FALSE(entity.applyDefaultSettings());
}

TEST_F(Lifecycle, NamesAndNeeds) {
    std::list<std::string> needed{"one", "two"};
    entity.getDependencies(needed);
    EXPECT_THAT(needed, ElementsAre("Interfaces"));
    EXPECT_EQ(entity.entityName(), "pppoeia");
    know(interface(2, InterfaceType::dsl));
    std::string device = "untouched";
    EXPECT_FALSE(entity.portIdToPortString(2, nullptr));
    EXPECT_FALSE(entity.portIdToPortString(77, &device));
    EXPECT_EQ(device, "untouched");
    EXPECT_TRUE(entity.portIdToPortString(2, &device));
    EXPECT_EQ(device, "dev2");
}

}  // namespace
