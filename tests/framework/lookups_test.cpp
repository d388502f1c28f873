// What the platform's lookups answer for a described node.
#include "node/framework/registry.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Interfaces.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/onuEquipment.h"
#include "platform/bll/servprofile.h"
#include "platform/bll/sysInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace ia::node;
using testing::ElementsAre;

// An OLT port with two ONUs, the second with two GEM ports, one of them idle;
// a PVC without a panel label; VLAN 100 on two bridges.
Description described() {
    Description node;
    node.shelf = "S1";
    node.bridges = {{.name = "br0"}, {.name = "br1"}};
    node.vlans = {{.id = 100, .name = "data", .bridge = "br0"},
                  {.id = 100, .name = "same id", .bridge = "br1"},
                  {.id = 4095, .name = "", .bridge = "br1"}};
    const auto add = [&](std::uint32_t id, InterfaceType type,
                         std::uint32_t parent) -> Interface & {
        Interface made;
        made.id = id;
        made.name = "name" + std::to_string(id);
        made.device = "dev" + std::to_string(id);
        made.type = type;
        made.parent = parent;
        made.panel = "P1";
        made.port = 40;
        return node.interfaces.emplace_back(made);
    };
    add(9, InterfaceType::olt, 0);
    add(2, InterfaceType::onu, 9).onu = 1;
    Interface &onu = add(3, InterfaceType::onu, 9);
    onu.onu = 2;
    onu.mac = {2, 0, 0, 0, 0, 9};
    Interface &gem = add(4, InterfaceType::gem, 3);
    gem.onu = 2;
    gem.gem = 77;
    add(5, InterfaceType::gem, 3).gem_in_use = false;
    add(6, InterfaceType::lag, 0);
    Interface &pvc = add(7, InterfaceType::atm, 8);  // its parent is not described
    pvc.panel.clear();
    pvc.pvc = 5;
    return node;
}

class Lookups : public testing::Test {
protected:
    Lookups() {
        registry().change([](NodeState &state) { state = NodeState(described()); });
    }
    const Interfaces &interfaces = singleton<Interfaces>::instance();
};

std::vector<unsigned> ids(const std::list<Interfaces::Interface> &list) {
    std::vector<unsigned> found;
    for (const Interfaces::Interface &interface : list) found.push_back(interface.id);
    return found;
}

TEST_F(Lookups, NamesAndTypes) {
    std::string text = "untouched";
    EXPECT_NE(interfaces.interfaceGetNameById(1, text), 0);
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(interfaces.interfaceGetNameById(4, text), 0);
    EXPECT_EQ(text, "name4");
    EXPECT_EQ(interfaces.interfaceGetLinuxnameById(4, text), 0);
    EXPECT_EQ(text, "dev4");
    Interfaces::interfaceType type{};
    EXPECT_EQ(interfaces.interfaceGetTypeById(6, type), 0);
    EXPECT_EQ(type, 7U);
    EXPECT_TRUE(interfaces.checkId(7));
    EXPECT_FALSE(interfaces.checkId(8));
}

TEST_F(Lookups, Locations) {
    Interfaces::slot_port_s place{};
    ASSERT_EQ(interfaces.interfaceSlotPortIntfGet(4, place), 0);
    EXPECT_STREQ(place.panel, "P1");
    EXPECT_LE(place.panel_validity, 1U);
    EXPECT_EQ(place.port, 40U);
    EXPECT_EQ(place.onu_or_pvc, 2U);
    EXPECT_EQ(place.gem, 77U);
    ASSERT_EQ(interfaces.interfaceSlotPortIntfGet(7, place), 0);
    EXPECT_GT(place.panel_validity, 1U) << "no label";
    EXPECT_EQ(place.onu_or_pvc, 5U) << "the PVC's number";
    EXPECT_NE(interfaces.interfaceSlotPortIntfGet(8, place), 0);
}

TEST_F(Lookups, FamilyOfInterfaces) {
    std::list<Interfaces::Interface> list;
    EXPECT_EQ(interfaces.interfaceListGet(list), 0);
    EXPECT_THAT(ids(list), ElementsAre(2, 3, 4, 5, 6, 7, 9));
    EXPECT_EQ(interfaces.interfaceAllChildrenGet(9, list), 0);
    EXPECT_THAT(ids(list), ElementsAre(2, 3));
    EXPECT_EQ(interfaces.interfaceAllChildrenGet(3, list), 0);
    EXPECT_EQ(list.front().gemInUse, 1U);
    EXPECT_EQ(list.back().gemInUse, 0U);
    EXPECT_EQ(interfaces.interfaceAllChildrenGet(2, list), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_NE(interfaces.interfaceAllChildrenGet(8, list), 0);

    Interfaces::Interface parent{};
    EXPECT_EQ(interfaces.interfaceParentGet(4, parent), 0);
    EXPECT_EQ(parent.id, 3U);
    for (const unsigned without : {9U, 7U, 8U})
        EXPECT_NE(interfaces.interfaceParentGet(without, parent), 0) << without;
}

TEST_F(Lookups, OnuByItsPortAndNumber) {
    unsigned id = 0;
    EXPECT_EQ(interfaces.interfaceGetIdByOMApiInterface({1, 1, 9, 2}, id), 0);
    EXPECT_EQ(id, 3U);
    EXPECT_NE(interfaces.interfaceGetIdByOMApiInterface({1, 1, 9, 3}, id), 0);
    EXPECT_NE(interfaces.interfaceGetIdByOMApiInterface({1, 2, 9, 2}, id), 0);

    const onuEquipment &equipment = singleton<onuEquipment>::instance();
    onuConfigTableGet record{};
    EXPECT_EQ(equipment.onuConfigGet(3, record, 0x10000000, 64, 0x10000000), 0);
    EXPECT_EQ(record.mac_length, 6U);
    EXPECT_EQ(record.mac[5], 9);
    EXPECT_EQ(equipment.onuConfigGet(2, record, 0x10000000, 64, 0x10000000), 0);
    EXPECT_EQ(record.mac_length, 0U);
    EXPECT_NE(equipment.onuConfigGet(4, record, 0x10000000, 64, 0x10000000), 0);
}

TEST_F(Lookups, Vlans) {
    const kvbridge &bridges = singleton<kvbridge>::instance();
    kvbridge::vlanInfo info{};
    EXPECT_EQ(bridges.vlanGetInfoId("br0", 100, info), 0);
    EXPECT_EQ(info.name, "data");
    EXPECT_NE(bridges.vlanGetInfoId("br0", 4095, info), 0);
    EXPECT_EQ(bridges.vlanGetInfoId("", 4095, info), 0);
    EXPECT_EQ(info.vlanId, 4095);
    int all = 0;
    for (std::uint16_t index = 0; index < 4096; ++index)
        all += bridges.vlanGetInfoId(nullptr, index, info) == 0;
    EXPECT_EQ(all, 2) << "each id once";
}

TEST_F(Lookups, NodeAsAWhole) {
    std::string shelf;
    EXPECT_EQ(singleton<sysInfo>::instance().getShelfId(shelf), 0);
    EXPECT_EQ(shelf, "S1");
    EXPECT_TRUE(isActive(5));
    EXPECT_FALSE(isActive(4));
    EXPECT_FALSE(singleton<CliConfig>::instance().checkProfileMode());
    EXPECT_NE(servProfileCheckIfInterfaceUplink(6), 0);
    EXPECT_EQ(servProfileCheckIfInterfaceUplink(4), 0);
    EXPECT_EQ(servProfileCheckIfInterfaceUplink(100), 0);

    registry().change([](NodeState &state) { state = NodeState(); });
    EXPECT_NE(singleton<sysInfo>::instance().getShelfId(shelf), 0);
    EXPECT_FALSE(isActive(5));
    EXPECT_THROW(singleton<Ports>::instance().getGponImpl(), Ports::nullImplException);
}

}  // namespace
