// The management process's logic, with the engine in a process of its own behind a
// gate, and the clock in the test's hand.
#include "management/management.h"

#include "client/node_operations.h"
#include "client/request.h"
#include "entity/pppoeia.h"
#include "management/own_changes.h"
#include "node/description/read_description.h"
#include "node/linux/ncfm.h"
#include "pppoeia/client.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"
#include "tests/management/engine_gate.h"
#include "tests/rpc/private_node.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/scripted_node.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <chrono>
#include <fstream>

// The node's own starts a thread, which no engine may be forked beside.
void ia::node::describe_node(const Description &) {}

namespace ia::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using State = EngineLink::State;
using Fault = EngineGate::Fault;

template <auto Client>
constexpr std::uint32_t id_of = OperationOf<Client>::id;

constexpr char port_1[] =
    "[[interface]]\nid = 1\nname = \"1/1\"\ntype = \"access\"\ndevice = \"sub1\"\n"
    "role = \"client\"\nremote_id = \"line-1\"\n";
constexpr char port_2[] =
    "[[interface]]\nid = 2\nname = \"1/2\"\ntype = \"access\"\ndevice = \"sub2\"\n";

// In the engine's process.
std::string shelf_there() {
    char shelf[PPPOEIA_SHELF_ID_SIZE] = {};
    cache_pppoeia_bridge_shelf_id_get(br, shelf);
    return shelf;
}
std::string held_there() {
    return std::to_string(held_count());
}
template <std::uint32_t Port>
std::string remote_id_there() {
    char text[PPPOEIA_REMOTE_ID_SIZE] = {};
    cache_pppoeia_port_remote_id_get(br, Port, text);
    return text;
}

class Managed : public testing::Test {
protected:
    Managed() {
        static const std::string missing = enter_private_node();
        pppoeia_cache_init();  // of an earlier test
        engine_path = path.c_str();
        describe(port_1);
        clear_syslog();
    }

    void describe(const std::string &ports, const std::string &settings = "") {
        write("node.toml", "[node]\nboard = 3\nshelf = \"described\"\n[settings]\nfile = \"" +
                               (dir / "settings.toml") + "\"\n" + settings +
                               "[[bridge]]\nname = \"br0\"\nports = 8\n" + ports);
    }
    void write(const std::string &name, const std::string &text) const {
        std::ofstream(dir / name) << text;
    }

    void begin(const std::string &journal = "journal") {
        management.emplace(loop, node::read_description(dir / "node.toml"),
                           Management::Seams{
                               .settings_copy = dir / "copy",
                               .journal = dir / journal,
                               .messages = {},
                               .calls = {},
                               .engine = path,
                               .devices = [this] { return devices; },
                               .links = [] { return std::vector<node::Link>(); },
                           });
        settle();
    }
    void begin_in_force() {
        gate.open_gate();
        begin();
        ASSERT_EQ(management->link(), State::in_force);
    }

    // All that is due now, and then all that falls due in that time.
    void settle() {
        while (loop.turn(0ms)) {
        }
    }
    void pass(std::chrono::milliseconds span) {
        for (const auto end = now + span; now < end; now += 50ms) settle();
        settle();
    }

    int request(const char *what, boost::function<int(std::string &)> configFile::*operation,
                int wanted) {
        const int result = (configFile::instance().*operation)(said);
        EXPECT_EQ(result, wanted) << what << ": " << said;
        return result;
    }
    std::uint32_t waiting() {
        configFile::status_t status;
        configFile::instance().status(status);
        return status.waiting;
    }
    std::vector<std::string> found() {
        std::vector<std::string> codes;
        for (const Finding &finding : management->findings()) codes.push_back(finding.code);
        return codes;
    }
    static std::string logged() {
        std::string all;
        for (const syslog_record &record : syslog_records()) all += record.text + "\n";
        return all;
    }

    const TempDir dir;
    const std::string path = dir / "main";
    EngineProcess engine{dir / "engine"};
    EngineGate gate{path, dir / "engine"};
    Management::Clock::time_point now{1h};
    EventLoop loop{[this] { return now; }};
    std::set<std::string> devices{"br0", "sub1", "sub2"};
    std::string said;
    std::optional<Management> management;
};

struct LostAt {
    const char *label;
    std::uint32_t call;
    bool held = true;  // are frames by then
};

TEST_F(Managed, EngineLostWhileItIsConfiguredIsConfiguredAnew) {
    begin_in_force();
    ASSERT_EQ(agent().setShelfId("operator"), 0);
    for (const LostAt &row : {LostAt{"before anything", id_of<hold_frames>, false},
                              LostAt{"told of the bridge", id_of<describe_bridge>},
                              LostAt{"asked to begin", id_of<pppoeia_init>},
                              LostAt{"given the bridge", id_of<pppoeia_bridge_add>},
                              LostAt{"given a port", id_of<pppoeia_port_add>},
                              LostAt{"given its settings", id_of<pppoeia_bridge_shelf_id_set>},
                              LostAt{"to end the hold", id_of<release_frames>}}) {
        SCOPED_TRACE(row.label);
        gate.close_gate();
        pass(50ms);
        EXPECT_EQ(management->link(), State::away);
        gate.fault(Fault::engine_lost, row.call);
        gate.open_gate();
        pass(200ms);
        ASSERT_TRUE(gate.struck());
        EXPECT_EQ(management->link(), State::away);
        EXPECT_EQ(engine.look(held_there) != "0", row.held);
        gate.open_gate();
        pass(2s);
        EXPECT_EQ(management->link(), State::in_force);
        EXPECT_EQ(engine.look(held_there), "0");
        EXPECT_EQ(engine.look(shelf_there), "operator");
    }
}

TEST_F(Managed, WithoutAnEngineAtItsStartItAnswersAndSettingsWait) {
    write("settings.toml", "[[port]]\nid = 1\nremote_id = \"operator\"\n");
    begin();
    EXPECT_EQ(management->link(), State::away);
    EXPECT_THAT(found(), Contains("engine-away"));
    EXPECT_EQ(waiting(), 1U);
    gate.open_gate();
    pass(100ms);
    EXPECT_EQ(management->link(), State::in_force);
    EXPECT_EQ(engine.look(remote_id_there<1>), "operator");
    EXPECT_EQ(waiting(), 0U);
}

TEST_F(Managed, ClearThatFailsHalfWayClearsNothing) {
    begin_in_force();
    ASSERT_EQ(agent().setShelfId("operator"), 0);
    for (const std::uint32_t call : {id_of<hold_frames>, id_of<pppoeia_apply_default_settings>}) {
        gate.fault(Fault::answer_lost, call);
        request("clear", &configFile::clear, 1);
        EXPECT_THAT(said, HasSubstr("nothing is cleared"));
        EXPECT_EQ(management->link(), State::configuring);
        settle();
        EXPECT_EQ(management->link(), State::in_force);
        EXPECT_EQ(engine.look(shelf_there), "operator");
        EXPECT_EQ(engine.look(held_there), "0");
    }
    request("clear", &configFile::clear, 0);
    EXPECT_EQ(engine.look(shelf_there), "described");
    EXPECT_EQ(engine.look(held_there), "0");
}

TEST_F(Managed, ChangeWhoseAnswerIsLostIsTakenBack) {
    begin_in_force();
    ASSERT_EQ(agent().setShelfId("before"), 0);
    gate.fault(Fault::answer_lost, id_of<pppoeia_bridge_shelf_id_set>);
    EXPECT_NE(agent().setShelfId("late"), 0);
    EXPECT_EQ(engine.look(shelf_there), "late");
    settle();
    EXPECT_EQ(engine.look(shelf_there), "before");
    EXPECT_THAT(logged(), HasSubstr("1 settings are as before in the engine"));
}

TEST_F(Managed, ChangeThatCannotBeRecordedIsTakenBack) {
    gate.open_gate();
    begin("no folder/journal");
    EXPECT_NE(agent().setShelfId("lost"), 0);
    EXPECT_EQ(engine.look(shelf_there), "lost");
    settle();
    EXPECT_EQ(engine.look(shelf_there), "described");
    EXPECT_EQ(management->link(), State::in_force);
    EXPECT_THAT(found(), Contains("settings-problem"));
}

TEST_F(Managed, SettingsWaitForTheirPort) {
    write("settings.toml", "[[port]]\nid = 2\nremote_id = \"operator\"\n");
    begin_in_force();
    EXPECT_EQ(waiting(), 1U);
    describe(port_1 + std::string(port_2));
    management->reload_now();
    EXPECT_EQ(engine.look(remote_id_there<2>), "operator");
    EXPECT_EQ(waiting(), 0U);
    devices.erase("sub2");
    management->devices_changed();
    settle();
    EXPECT_EQ(waiting(), 1U);
    request("diff", &configFile::diff, 0);
    EXPECT_EQ(said, "") << "what waits is saved as it was";
}

// What a new description changes is in force over the operator's; the rest stays.
TEST_F(Managed, ReloadMergesWithTheOperatorsSettings) {
    begin_in_force();
    ASSERT_EQ(agent().setShelfId("operator"), 0);
    ASSERT_EQ(agent().setInterfaceRemoteId(1, "operator"), 0);
    std::string changed = port_1;
    changed.replace(changed.find("line-1"), 6, "line-9");
    describe(changed);
    management->reload_now();
    request("diff", &configFile::diff, 0);
    EXPECT_EQ(said, "[agent]\n+ shelf = \"operator\"\n");
}

TEST_F(Managed, RefusedReloadKeepsTheDescription) {
    begin_in_force();
    write("node.toml", "[node]\nboard = 300\n");
    request("show", &configFile::diff, 0);
    EXPECT_EQ(configFile::instance().reload(false, said), 1);
    EXPECT_THAT(said, HasSubstr("node.toml:"));
    settle();
    EXPECT_THAT(found(), Contains("reload-refused"));
    EXPECT_EQ(agent().setInterfaceRemoteId(1, "operator"), 0) << "its port is there still";
    describe(port_1);
    EXPECT_EQ(configFile::instance().reload(false, said), 0);
    EXPECT_THAT(found(), testing::Not(Contains("reload-refused")));
}

struct Stop {
    const char *settings;
    const char *saved;   // in the file after it
    const char *warned;  // in the log
};

TEST_F(Managed, StopWithUnsavedSettingsSavesThemOrWarns) {
    for (const Stop &row : {Stop{"", "", "not saved: they are lost:\n[agent]\n+ shelf"},
                            Stop{"auto = true\n", "shelf = \"operator\"", ""}}) {
        describe(port_1, row.settings);
        begin_in_force();
        ASSERT_EQ(agent().setShelfId("operator"), 0);
        clear_syslog();
        management.reset();
        std::ifstream file(dir / "settings.toml");
        EXPECT_THAT(std::string(std::istreambuf_iterator<char>(file), {}), HasSubstr(row.saved));
        EXPECT_THAT(logged(), HasSubstr(row.warned));
        EXPECT_EQ(logged().find("lost") == std::string::npos, *row.warned == '\0');
    }
}

TEST_F(Managed, SavesByItselfASecondAfterTheLastChangeAndTenAfterTheFirst) {
    describe(port_1, "auto = true\n");
    begin_in_force();
    int seconds = 0;
    const auto saved = [&] { return std::ifstream(dir / "settings.toml").good(); };
    for (; !saved() && seconds < 20; ++seconds) {
        ASSERT_EQ(agent().setShelfId("s" + std::to_string(seconds)), 0);
        for (const auto next = now + 950ms; now < next; now += 50ms) settle();
    }
    EXPECT_EQ(seconds, 11);
}

}  // namespace
}  // namespace ia::test
