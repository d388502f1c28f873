// What each change of the node's description is announced as.
#include "node/framework/changes.h"
#include "tests/framework/recorder.h"
#include "tests/support/interface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <functional>

namespace {

using namespace ia::node;
using testing::ElementsAreArray;
using Lines = std::vector<std::string>;

ia::test::Recorder &recorder() {
    static ia::test::Recorder the_recorder;
    return the_recorder;
}

Interface interface(std::uint32_t id, const char *name, InterfaceType type, std::uint32_t parent) {
    Interface made = ia::test::interface(id, type, parent);
    made.name = name;
    return made;
}

// One of everything, children described before their parents.
Description node() {
    Description described;
    described.shelf = "S1";
    described.contact = "noc";
    Bridge bridge;
    bridge.name = "br0";
    bridge.ports = 16;
    bridge.max_pdu = 1600;
    described.bridges = {bridge};
    described.vlans = {{.id = 100, .name = "data", .bridge = "br0"}};
    Interface gem = interface(2, "1/1/1/7", InterfaceType::gem, 3);
    gem.gem = 7;
    Interface onu = interface(3, "1/1/1", InterfaceType::onu, 4);
    onu.onu = 1;
    onu.serial = "414243441234ABCD";
    Interface atm = interface(6, "2/1:1", InterfaceType::atm, 5);
    atm.vpi = 8;
    atm.vci = 35;
    Interface uplink = interface(1, "up", InterfaceType::eth, 0);
    uplink.settings.role = 2;
    described.interfaces = {uplink,
                            gem,
                            onu,
                            interface(4, "1/1", InterfaceType::olt, 0),
                            interface(5, "2/1", InterfaceType::dsl, 0),
                            atm};
    described.port_vlans = {
        {.port = 1, .vlan = 7, .settings = {.circuit_id_mode = 2, .remote_id_format = "R"}}};
    return described;
}

Interface &port(Description &description, std::uint32_t id) {
    for (Interface &there : description.interfaces)
        if (there.id == id) return there;
    throw std::out_of_range("no such interface");
}

void erase_port(Description &description, std::uint32_t id) {
    std::erase_if(description.interfaces, [&](const Interface &there) { return there.id == id; });
}

const std::string agent_is_on = "[agent] enabled = true";
const std::string vlan_is_on = "[[vlan]] id = 100 enabled = true";
const std::string uplink_serves =
    "[[port]] id = 1 role = \"server\"  [[port_vlan]] port = 1 vlan = 7 "
    "circuit_id_mode = \"custom\" remote_id_format = \"R\"";

class Announcements : public testing::Test {
protected:
    // Starts with node(); what that announces is returned and forgotten.
    Lines start() {
        static const bool subscribed = [] {
            recorder().subscribe();
            begin_registry(node());
            recorder().subscribe_gpon();
            return true;
        }();
        EXPECT_TRUE(subscribed);
        recorder().refused.clear();
        recorder().lines.clear();
        begin_registry(node());
        EXPECT_EQ(announce_changes(node(), recorder()), 0U);
        return std::exchange(recorder().lines, {});
    }
};

TEST_F(Announcements, OfTheWholeNodeAtItsStart) {
    EXPECT_THAT(start(), ElementsAreArray(Lines{
                             "+bridge br0 16", "pdu br0 1600", agent_is_on, "contact noc",
                             "+vlan br0 100", "vlan-name 100 data", vlan_is_on, "+port br0 1 up",
                             uplink_serves, "+port br0 4 1/1", "+port br0 5 2/1",
                             "+port br0 3 1/1/1", "onu 4 1 414243441234ABCD", "+port br0 6 2/1:1",
                             "pvc 6 8 35", "+port br0 2 1/1/1/7", "gem 2 3 7 0"}));
}

struct Change {
    const char *name;
    std::function<void(Description &)> make;
    Lines announced;
};

class SingleChange : public Announcements, public testing::WithParamInterface<Change> {};

TEST_P(SingleChange, IsAnnouncedOnce) {
    start();
    Description changed = node();
    GetParam().make(changed);
    EXPECT_EQ(announce_changes(changed, recorder()), 0U);
    EXPECT_THAT(recorder().lines, ElementsAreArray(GetParam().announced));
    recorder().lines.clear();
    EXPECT_EQ(announce_changes(changed, recorder()), 0U);
    EXPECT_THAT(recorder().lines, ElementsAreArray(Lines{})) << "it is known by now";
}

const Change changes[] = {
    {"nothing", [](Description &) {}, {}},
    {"shelf", [](Description &d) { d.shelf = "S2"; }, {"shelf S2"}},
    {"system_texts",
     [](Description &d) { d.contact.clear(), d.location = "attic", d.name = "n1"; },
     {"contact ", "location attic", "name n1"}},
    {"profile_mode", [](Description &d) { d.profile_mode = true; }, {"profile-mode 1"}},
    {"bridge_settings",
     [](Description &d) { d.bridges[0].settings.enabled = false, d.bridges[0].max_pdu = 1500; },
     {"pdu br0 1500", "[agent] enabled = false"}},
    {"another_bridge_has_no_settings",
     [](Description &d) {
         d.bridges.push_back({.name = "br1"});
         d.vlans.push_back({.id = 100, .name = "other", .bridge = "br1"});
     },
     {"+bridge br1 256"}},
    {"bridge_with_other_port_records",
     [](Description &d) {
         d.bridges[0].ports = 32;
         d.interfaces.resize(1);
     },
     {"-port br0 2 1/1/1/7", "-port br0 6 2/1:1", "-port br0 3 1/1/1", "-port br0 5 2/1",
      "-port br0 4 1/1", "-port br0 1 up", "-vlan br0 100", "-bridge br0", "+bridge br0 32",
      "pdu br0 1600", agent_is_on, "contact noc", "+vlan br0 100", "vlan-name 100 data", vlan_is_on,
      "+port br0 1 up", uplink_serves}},
    {"vlan_renamed_and_disabled",
     [](Description &d) { d.vlans[0].name = "voice", d.vlans[0].settings.enabled = false; },
     {"vlan-name 100 voice", "[[vlan]] id = 100 enabled = false"}},
    {"vlan_replaced",
     [](Description &d) {
         d.vlans = {{.id = 7, .name = "", .bridge = "br0", .settings = {.enabled = false}}};
     },
     {"-vlan br0 100", "+vlan br0 7"}},
    {"port_texts_and_rights",
     [](Description &d) {
         port(d, 5).description = "cellar";
         port(d, 5).settings = {.role = 1, .trust = 0, .remote_id = "r5", .circuit_id_mode = 2};
     },
     {"descr 5 cellar",
      "[[port]] id = 5 role = \"client\" trust = \"trusted\" remote_id = \"r5\" "
      "circuit_id_mode = \"custom\""}},
    {"formats_and_level_of_the_bridge",
     [](Description &d) {
         d.bridges[0].settings.circuit_id_format = "$PORT";
         d.bridges[0].settings.log_level = 7;
     },
     {"[agent] circuit_id_format = \"$PORT\" log_level = 7"}},
    // A first format brings the mode of its port along.
    {"line_of_a_port",
     [](Description &d) {
         port(d, 6).settings.circuit_id_mode = 1;
         d.port_vlans.insert(d.port_vlans.end(),
                             {{.port = 6, .vlan = 100, .settings = {.circuit_id_format = "$PVC"}},
                              {.port = 7, .vlan = 100, .settings = {.circuit_id_format = "none"}}});
     },
     {"[[port]] id = 6 circuit_id_mode = \"atm\"  [[port_vlan]] port = 6 vlan = 100 "
      "circuit_id_mode = \"atm\" circuit_id_format = \"$PVC\""}},
    {"line_no_longer_said",
     [](Description &d) { d.port_vlans.clear(); },
     {"[[port_vlan]] port = 1 vlan = 7 circuit_id_mode = \"not_set\" remote_id_format = \"\""}},
    {"role_no_longer_said",
     [](Description &d) { port(d, 1).settings.role.reset(); },
     {"[[port]] id = 1 role = \"both\""}},
    {"port_on_another_device",
     [](Description &d) { port(d, 1).device = "lan9"; },
     {"-port br0 1 up", "+port br0 1 up", uplink_serves}},
    {"onu_renamed",
     [](Description &d) { port(d, 3).name = "1/1/2"; },
     {"-port br0 3 1/1/1", "+port br0 3 1/1/2", "onu 4 1 414243441234ABCD"}},
    {"pvc", [](Description &d) { port(d, 6).vci = 36; }, {"pvc 6 8 36"}},
    {"onu_exchanged",
     [](Description &d) { port(d, 3).serial = "4142434400000000"; },
     {"onu 4 1 4142434400000000"}},
    {"onu_reports_its_address",
     [](Description &d) { port(d, 3).mac = {0x02, 0, 0, 0, 0, 1}; },
     {"onu 4 1 414243441234ABCD"}},
    {"gem_out_of_use", [](Description &d) { port(d, 2).gem_in_use = false; }, {"gem 2 3 7 1"}},
    {"gem_moved",
     [](Description &d) { port(d, 2).name = "1/1/1/8", port(d, 2).gem = 8; },
     {"gem 2 3 8 2"}},
    {"gem_gone", [](Description &d) { erase_port(d, 2); }, {"-port br0 2 1/1/1/7"}},
};

INSTANTIATE_TEST_SUITE_P(Table, SingleChange, testing::ValuesIn(changes),
                         [](const auto &row) { return row.param.name; });

TEST_F(Announcements, RefusedBridgeHasNoPortsUntilItIsGranted) {
    start();
    Description changed = node();
    changed.bridges.push_back({.name = "br1"});
    port(changed, 1).bridge = "br1";
    recorder().refused = {"+bridge br1 256"};
    EXPECT_EQ(announce_changes(changed, recorder()), 2U);
    EXPECT_THAT(recorder().lines, ElementsAreArray(Lines{"-port br0 1 up", "+bridge br1 256"}));
    EXPECT_FALSE(singleton<Interfaces>::instance().checkId(1));

    recorder().refused.clear();
    recorder().lines.clear();
    EXPECT_EQ(announce_changes(changed, recorder()), 0U);
    EXPECT_THAT(recorder().lines, ElementsAreArray(Lines{"+bridge br1 256", "+port br1 1 up"}));
}

TEST_F(Announcements, PortThatMayNotGoStaysAsItWas) {
    start();
    Description changed = node();
    port(changed, 1).name = "new";
    recorder().refused = {"-port br0 1 up"};
    EXPECT_EQ(announce_changes(changed, recorder()), 1U);
    EXPECT_THAT(recorder().lines, ElementsAreArray(Lines{"-port br0 1 up"}));
    std::string name;
    EXPECT_EQ(singleton<Interfaces>::instance().interfaceGetNameById(1, name), 0);
    EXPECT_EQ(name, "up");
}

TEST_F(Announcements, BridgeTakesAlongThePortsThatMayNotGo) {
    start();
    recorder().refused = {"-port br0 1 up"};
    EXPECT_EQ(announce_changes(Description(), recorder()), 1U);
    EXPECT_EQ(recorder().lines.back(), "contact ");
    EXPECT_FALSE(singleton<Interfaces>::instance().checkId(1));
}

TEST_F(Announcements, SettingsAreToldAgainAfterDefaults) {
    start();
    announce_settings_again(recorder());
    EXPECT_THAT(recorder().lines, ElementsAreArray(Lines{"contact noc", "pdu br0 1600", agent_is_on,
                                                         "+vlan br0 100", "vlan-name 100 data",
                                                         vlan_is_on, uplink_serves, "pvc 6 8 35"}));
}

}  // namespace
