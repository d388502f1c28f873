// Bridges, ports, VLANs and texts of the node, as they reach the engine.
#include "node/framework/locks.h"
#include "platform/bll/BLLManager.h"
#include "tests/entity/managed_node.h"
#include "tests/support/scripted_node.h"

#include <future>
#include <thread>

using namespace ia::test;
using ia::node::InterfaceType;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

using NodeChanges = ManagedNode;

std::string bridge_settings(const char *name) {
    const ia::LockedBridge bridge(name);
    if (!bridge) return "none";
    return spaced(bridge->max_pdu, bridge->disabled, bridge->vendor, bridge->shelf_id,
                  bridge->chassis_id, "[" + std::string(bridge->cid_format) + "]",
                  "[" + std::string(bridge->rid_format) + "]", bridge->ports.size());
}

std::string br0() {
    return bridge_settings("br0");
}
std::string br1() {
    return bridge_settings("br1");
}

TEST_F(NodeChanges, EachNewBridgeGetsItsDefaults) {
    described.bridges.clear();
    start();
    EXPECT_TRUE(entity.bridgeAdd("", 64));
    EXPECT_EQ(engine->look(br0), "1500 1 KORVALEN NONE 99 [] [$PORT_REM_ID] 64");
    EXPECT_EQ(br0(), engine->look(br0)) << "the same here";

    // Formats and chassis are the default bridge's whichever one is new.
    pppoeia_circuit_id_format_set("br0", "c");
    pppoeia_remote_id_format_set("br0", "r");
    pppoeia_bridge_chassis_id_set("br0", 7);
    pppoeia_bridge_max_pdu_set("br0", 1400);
    ia::node::registry().change([](ia::node::NodeState &node) { node.facts.shelf = "S9"; });
    engine->look([] {
        add_node_bridge("br1");
        return std::string();
    });
    EXPECT_TRUE(entity.bridgeAdd("br1", 8));
    EXPECT_EQ(engine->look(br0), "1400 1 KORVALEN NONE 99 [] [$PORT_REM_ID] 64");
    EXPECT_EQ(engine->look(br1), "1500 1 KORVALEN S9 99 [] [] 8");

    pppoeia_bridge_chassis_id_set("br0", 7);
    EXPECT_TRUE(entity.bridgeAdd("br1", 8)) << "there already";
    EXPECT_EQ(engine->look(br0), "1400 1 KORVALEN NONE 7 [] [$PORT_REM_ID] 64");
    EXPECT_FALSE(entity.bridgeDel("br2"));
    EXPECT_TRUE(entity.bridgeDel("br1"));
    EXPECT_TRUE(entity.bridgeDel(nullptr));
    EXPECT_EQ(engine->look(br0) + ", " + engine->look(br1), "none, none");
}

// Of every port in use: id, device, name, type, kind, parent, state, trust.
std::string ports() {
    std::string all;
    const ia::LockedBridge bridge("br0");
    for (const pppoeia_port &port : bridge->ports)
        if (port.present())
            all += spaced(port.port_id, port.dev_name, port.port_name, port.intf_type,
                          port.intf_kind, port.parent_id, port.state, port.trust) +
                   "\n";
    return all;
}

TEST_F(NodeChanges, PortsOfEveryType) {
    described.interfaces = {
        interface(1, InterfaceType::eth),    interface(2, InterfaceType::dsl),
        interface(3, InterfaceType::atm, 2), interface(4, InterfaceType::olt),
        interface(5, InterfaceType::onu, 4), interface(6, InterfaceType::gem, 5),
        interface(7, InterfaceType::mng),    interface(8, InterfaceType::lag),
        interface(9, InterfaceType::access), interface(10, InterfaceType::atm, 55),
        interface(11, InterfaceType::dsl, 4)};
    start();
    const std::string expected =
        "1 dev1 1/1 eth 1 0 3 0\n"
        "2 dev2 1/2 dsl 2 0 0 1\n"
        "3 dev3 1/3 atm 3 2 0 1\n"
        "4 dev4 1/4 olt 6 0 0 1\n"
        "5 dev5 1/5 onu 7 4 0 1\n"
        "6 dev6 1/6 gem 8 5 0 1\n"
        "7 dev7 1/7 mng 4 0 0 1\n"
        "8 dev8 1/8 lag 5 0 3 0\n"
        "9 dev9 1/9 eth 9 0 0 1\n"
        "10 dev10 1/10 atm 3 0 0 1\n"   // its parent is not there
        "11 dev11 1/11 dsl 2 0 0 1\n";  // not of a kind that has one
    EXPECT_EQ(engine->look(ports), expected);
    EXPECT_EQ(ports(), expected);
}

TEST_F(NodeChanges, PortsKeepTheirPlace) {
    ia::node::Interface gem = interface(6, InterfaceType::gem);
    gem.panel = "P7";
    gem.port = 3;
    gem.onu = 12;
    gem.gem = 900;
    ia::node::Interface atm = interface(7, InterfaceType::atm);
    atm.port = 4;
    atm.pvc = 2;
    described.interfaces = {gem, atm};
    start();
    EXPECT_EQ(engine->look([] {
        std::string places;
        const ia::LockedBridge bridge("br0");
        for (const std::uint32_t id : {6U, 7U}) {
            const pppoeia_port_location &place = bridge->port(id)->location;
            places += spaced("[" + std::string(place.panel) + "]", place.panel_validity, place.port,
                             place.onu_or_pvc, place.gem) +
                      ",";
        }
        return places;
    }),
              "[P7] 1 3 12 900,[] 2 4 2 0,");
}

TEST_F(NodeChanges, PortsThatCannotBe) {
    start();
    entity.portAdd("br0", 77);
    know(interface(20, InterfaceType{9}));
    entity.portAdd("br0", 20);
    know(interface(64, InterfaceType::dsl));  // ids end at 63
    entity.portAdd(nullptr, 64);
    know(interface(21, InterfaceType::dsl));
    entity.portAdd("br9", 21);
    EXPECT_THAT(logged(),
                ElementsAre("3 pppoeia: Error getting port 77 info from Interfaces BLE.\n",
                            "3 pppoeia: Invalid interface type for port 20\n",
                            "3 pppoeia: Error adding port 64 to pppoeia module\n",
                            "3 pppoeia: Error adding port 21 to pppoeia module\n"));
    EXPECT_EQ(engine->look(ports), "");
    entity.portAdd("", 21);
    EXPECT_EQ(engine->look(ports), "21 dev21 1/21 dsl 2 0 0 1\n");
    EXPECT_TRUE(entity.portDel("", 21));
    EXPECT_FALSE(entity.portDel("", 21));
    EXPECT_EQ(engine->look(ports), "");
}

// What the bridge knows of its VLANs and port 2 of its own, "<id>=<name>" and
// "<port>/<id>".
std::string vlans() {
    std::string all;
    const ia::LockedBridge bridge("br0");
    for (const auto &[id, vlan] : bridge->vlans) all += spaced(id) + "=" + vlan.name + " ";
    for (const pppoeia_port &port : bridge->ports)
        for (const auto &entry : port.port_vlans)
            all += spaced(port.port_id) + "/" + spaced(entry.first) + " ";
    return all;
}

TEST_F(NodeChanges, VlansAreTheDefaultBridgesWhateverTheName) {
    described.interfaces = {interface(2, InterfaceType::dsl), interface(3, InterfaceType::dsl)};
    start();
    entity.vlanAdd("brX", 100);
    entity.vlanAdd(nullptr, 200);
    entity.setVlanName(200, "voice");
    entity.addVlanMembership("brX", 100, 2);
    entity.addVlanMembership("brX", 200, 2);
    entity.addVlanMembership("brX", 200, 3);
    EXPECT_EQ(engine->look(vlans), "100= 200=voice 2/100 2/200 3/200 ");
    entity.delVlanMembership("brX", 200, 2);
    entity.vlanDel("brX", 100);
    EXPECT_EQ(engine->look(vlans), "200=voice 2/100 3/200 ");
    EXPECT_THAT(logged(), IsEmpty());
    EXPECT_EQ(entity.clearPortVlan(3), 0);
    EXPECT_EQ(engine->look(vlans), "200=voice 2/100 ");
    EXPECT_EQ(entity.profileModeChange(false), 0);
    EXPECT_EQ(entity.clearVlan(), 0);
    EXPECT_EQ(engine->look(vlans), "");
    EXPECT_EQ(entity.clearPortVlan(9), 1);

    engine->kill();
    entity.vlanAdd("br0", 100);
    entity.vlanDel("br0", 100);
    entity.addVlanMembership("br0", 100, 2);
    entity.delVlanMembership("br0", 100, 2);
    EXPECT_THAT(logged(),
                ElementsAre("3 pppoeia::vlanAdd: pppoeia_vlan_add error.\n",
                            "3 pppoeia::vlanDel: pppoeia_vlan_del error.\n",
                            "3 pppoeia::addVlanMembership: pppoeia_port_vlan_add error.\n",
                            "3 pppoeia::delVlanMembership: pppoeia_port_vlan_del error.\n"));
    EXPECT_EQ(entity.profileModeChange(true), 1);
}

std::string texts() {
    const ia::LockedBridge bridge("br0");
    const pppoeia_port &port = *bridge->port(2);
    return spaced(bridge->shelf_id, bridge->contact, bridge->location, bridge->sysname,
                  port.intf_descr, bridge->vlans.begin()->second.name, bridge->vlans.size(),
                  bridge->max_pdu, port.cpe_serial, port.vpi);
}

TEST_F(NodeChanges, WithoutTheLockOnlyTextsAreStored) {
    described.shelf = described.contact = described.location = described.name = "old";
    described.vlans = {{.id = 100, .name = "old", .bridge = "br0"}};
    ia::node::Interface pvc = interface(2, InterfaceType::atm);
    pvc.description = "old";
    described.interfaces = {pvc};
    start();
    const BLLManager::sharedLock_t held;  // keeps the exclusive one from this thread at once
    entity.onChangeShelfId("shelf");
    entity.setSystemContact("contact");
    entity.setSystemLocation("location");
    entity.setSystemName("name");
    entity.setIntfDescr(2, "descr");
    entity.setVlanName(100, "vlan");
    entity.vlanAdd("br0", 200);
    entity.vlanDel("br0", 100);
    entity.addVlanMembership("br0", 100, 2);
    entity.delVlanMembership("br0", 100, 2);
    entity.onuStateChangeEvent(1, 1, "414243441234ABCD", true);
    entity.notifyPvcChange(2, 8, 35);
    Lines lines;
    for (const char *name :
         {"onChangeShelfId", "setSystemContact", "setSystemLocation", "setSystemName",
          "setIntfDescr", "setVlanName", "vlanAdd", "vlanDel", "addVlanMembership",
          "delVlanMembership", "onuStateChangeEvent", "notifyPvcChange"})
        lines.push_back("3 pppoeia::" + std::string(name) + ": obtaining exclusive lock failed.\n");
    EXPECT_THAT(logged(), ElementsAreArray(lines));
    const std::string vpi =
        engine->look([] { return spaced(ia::LockedBridge("br0")->port(2)->vpi); });
    EXPECT_NE(vpi, "8");

    EXPECT_TRUE(entity.bridgeAdd("br1", 8));
    EXPECT_FALSE(entity.bridgeDel("br0"));
    EXPECT_FALSE(entity.portDel("br0", 2));
    EXPECT_FALSE(entity.maxPduSet("br0", 1400));
    unsigned int pdu = 1;
    EXPECT_FALSE(entity.maxPduGet("br0", pdu));
    EXPECT_EQ(pdu, 1U);
    EXPECT_EQ(entity.setVlanState(100, false), 1);
    EXPECT_EQ(entity.clearVlan(), 1);
    EXPECT_EQ(engine->look(texts), "shelf contact location name descr vlan 1 1500  " + vpi);
}

TEST_F(NodeChanges, QuestionsWaitForAChangeButNotForever) {
    start();
    ia::node::lock_time_limit = std::chrono::milliseconds(1);
    std::promise<void> locked;
    std::promise<void> done;
    std::thread other([&] {
        const BLLManager::exclusiveLock_t held;
        locked.set_value();
        done.get_future().wait();
    });
    locked.get_future().wait();
    bool state = false;
    EXPECT_EQ(entity.getState(state), 1);
    EXPECT_FALSE(state);
    EXPECT_EQ(entity.resetGlobalStatistics(), 1);
    done.set_value();
    other.join();
    ia::node::lock_time_limit = std::chrono::seconds(5);
    EXPECT_EQ(entity.getState(state), 0);
    EXPECT_TRUE(state);
}

TEST_F(NodeChanges, Pvcs) {
    described.interfaces = {interface(2, InterfaceType::dsl), interface(3, InterfaceType::atm, 2)};
    start();
    entity.notifyPvcChange(3, 8, 35);
    EXPECT_EQ(engine->look([] {
        const ia::LockedBridge bridge("br0");
        return spaced(bridge->port(3)->vpi, bridge->port(3)->vci);
    }),
              "8 35");
    entity.notifyPvcChange(2, 8, 36);
    EXPECT_THAT(logged(), ElementsAre("4 pppoeia::notifyPvcChange: cannot set VPI: 8, VCI: 36 on "
                                      "interface: 2.\n"));
}

}  // namespace
