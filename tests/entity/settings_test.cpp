// The typed operations that do more than one call, or turn values.
#include "platform/bll/configFile.h"
#include "platform/bll/servprofile.h"
#include "rpc/metrics.h"
#include "tests/entity/managed_node.h"

using namespace ia::test;
using ia::node::InterfaceType;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto atm_mode = pppoeia::vsaCircuitIdMode_t(PPPOEIA_CID_ATM);
constexpr auto custom_mode = pppoeia::vsaCircuitIdMode_t(PPPOEIA_CID_CUSTOM);

class Settings : public ManagedNode {
protected:
    Settings() {
        described.vlans = {
            {.id = 100, .name = "data", .bridge = "br0", .settings = {.enabled = false}},
            {.id = 200, .name = "voice", .bridge = "br0"}};
        described.interfaces = {interface(1, InterfaceType::eth), interface(2, InterfaceType::dsl),
                                interface(3, InterfaceType::atm, 2)};
        described.interfaces[1].settings.remote_id = "sub-2";
        start();
    }
};

TEST_F(Settings, VlanStateOfKnownVlansOnly) {
    constexpr EngineProcess::Look enabled = [] {
        return std::to_string(ia::LockedBridge("br0")->vlan_enabled.count());
    };
    EXPECT_EQ(engine->look(enabled), "1");
    EXPECT_EQ(entity.setVlanState(4000, true), 2);
    EXPECT_EQ(engine->look(enabled), "1");
    EXPECT_EQ(entity.setVlanState(100, true), 0);
    EXPECT_EQ(engine->look(enabled), "2");
    engine->kill();
    EXPECT_EQ(entity.setVlanState(100, false), 1);
}

TEST_F(Settings, VlanInformation) {
    pppoeia::vlanInfo_t info;
    EXPECT_EQ(entity.getVlanInfo(4000, info), 2);
    EXPECT_EQ(entity.getVlanInfo(200, info), 0);
    EXPECT_EQ(info.vlanId, 200);
    EXPECT_TRUE(info.state);
    std::list<pppoeia::vlanInfo_t> list(2);
    EXPECT_EQ(entity.getVlanInfo(list), 0);
    std::string known;
    for (const pppoeia::vlanInfo_t &vlan : list) known += spaced(vlan.vlanId, vlan.state) + ",";
    EXPECT_EQ(known, "100 0,200 1,");
    ASSERT_TRUE(entity.bridgeDel("br0"));
    EXPECT_EQ(entity.getVlanInfo(200, info), 1);
    EXPECT_EQ(entity.getVlanInfo(list), 1);
    EXPECT_THAT(list, IsEmpty());
}

TEST_F(Settings, AtmModeIsForPvcsAndTheirServiceProfile) {
    Lines heard;
    const auto followed =
        boost::function<bool(unsigned, unsigned)>([&](unsigned id, unsigned mode) {
            heard.push_back(spaced(id, mode));
            return mode != PPPOEIA_CID_CUSTOM;
        });
    // The test's own list: its callbacks outlive no test.
    static boost::function<bool(unsigned, unsigned)> follower;
    static const bool subscribed = [] {
        servprofile::instance().pvcCidModeChange.subscribePre(
            [](unsigned id, unsigned mode) { return !follower || follower(id, mode); });
        return true;
    }();
    ASSERT_TRUE(subscribed);
    follower = followed;
    constexpr EngineProcess::Look modes = [] {
        const ia::LockedBridge bridge("br0");
        return spaced(bridge->port(2)->vsa_circuit_id_mode, bridge->port(3)->vsa_circuit_id_mode);
    };
    EXPECT_EQ(entity.setVsaCircuitIdMode(2, atm_mode), 2);
    EXPECT_EQ(engine->look(modes), "0 0");
    EXPECT_EQ(entity.setVsaCircuitIdMode(2, custom_mode), 0);
    EXPECT_THAT(heard, IsEmpty());
    EXPECT_EQ(entity.setVsaCircuitIdMode(3, atm_mode), 0);
    EXPECT_EQ(engine->look(modes), "2 1");
    EXPECT_EQ(entity.setVsaCircuitIdMode(3, custom_mode), 1) << "the profile refuses";
    EXPECT_EQ(engine->look(modes), "2 2");
    EXPECT_THAT(heard, ElementsAre("3 1", "3 2"));
    EXPECT_EQ(entity.setVsaCircuitIdMode(77, custom_mode), 1);
    engine->kill();
    EXPECT_EQ(entity.setVsaCircuitIdMode(3, atm_mode), 1);
    EXPECT_EQ(heard.size(), 2U) << "only what was stored is told";
    follower.clear();
}

TEST_F(Settings, TrustIsOneOfTwo) {
    constexpr EngineProcess::Look trusts = [] {
        std::string all;
        const ia::LockedBridge bridge("br0");
        for (const std::uint32_t id : {1U, 2U, 3U}) all += spaced(bridge->port(id)->trust);
        return all;
    };
    EXPECT_EQ(entity.setInterfaceMode(1, pppoeia::interfaceMode_t(5)), 0);
    EXPECT_EQ(entity.setInterfaceMode(2, pppoeia::interfaceMode_t(0)), 0);
    EXPECT_EQ(engine->look(trusts), "101");
    EXPECT_EQ(entity.setInterfaceModeAll(pppoeia::interfaceMode_t(0x100)), 0);
    EXPECT_EQ(engine->look(trusts), "111");

    auto mode = pppoeia::interfaceMode_t(9);
    ASSERT_EQ(cache_pppoeia_port_trust_set("br0", 2, 7), 0);
    EXPECT_EQ(entity.getInterfaceMode(2, mode), 0);
    EXPECT_EQ(mode, 9U);
    EXPECT_EQ(entity.getInterfaceMode(77, mode), 1);
    EXPECT_EQ(mode, 9U);
    EXPECT_EQ(entity.getInterfaceMode(1, mode), 0);
    EXPECT_EQ(mode, 1U);
}

TEST_F(Settings, PortVlansWithAModeOnly) {
    std::list<pppoeia::portVlanInfo_t> list(2);
    EXPECT_EQ(entity.getPortVlanList(2, list), 0);
    EXPECT_THAT(list, IsEmpty());
    ASSERT_EQ(entity.setVsaCircuitIdMode(2, 300, custom_mode), 0);
    ASSERT_EQ(entity.setVsaCircuitIdFormat(2, 300, "c$VLAN"), 0);
    ASSERT_EQ(entity.setVsaRemoteIdFormat(2, 300, "r$VLAN"), 0);
    ASSERT_EQ(entity.setVsaCircuitIdMode(2, 100, atm_mode), 0);
    EXPECT_EQ(entity.getPortVlanList(2, list), 0);
    std::string entries;
    for (const pppoeia::portVlanInfo_t &entry : list)
        entries +=
            spaced(entry.ifIndex, entry.vlanId, entry.cidMode, entry.cidFormat, entry.ridFormat) +
            ",";
    EXPECT_EQ(entries, "2 100 1  ,2 300 2 c$VLAN r$VLAN,");

    entity.addVlanMembership("br0", 200, 2);  // without a mode
    pppoeia::portVlanInfo_t one;
    EXPECT_EQ(entity.getPortVlanList(2, list), 1);
    EXPECT_EQ(entity.getPortVlan(2, 200, one), 1);
    EXPECT_EQ(entity.getPortVlan(2, 201, one), 1);
    EXPECT_EQ(entity.getPortVlan(2, 300, one), 0);
    EXPECT_EQ(one.ridFormat, "r$VLAN");
    pppoeia::interfaceInfo_t info;
    EXPECT_EQ(entity.getInterfaceInfo(2, info), 1);
    EXPECT_EQ(info.ifIndex, 0U);
}

TEST_F(Settings, AllOfOneInterface) {
    ASSERT_EQ(entity.setInterfaceState(2, pppoeia::interfaceState_t(1)), 0);
    ASSERT_EQ(entity.setVsaCircuitIdMode(2, custom_mode), 0);
    ASSERT_EQ(entity.setVsaCircuitIdMode(2, 100, custom_mode), 0);
    pppoeia::interfaceInfo_t info;
    ASSERT_EQ(entity.getInterfaceInfo(2, info), 0);
    EXPECT_EQ(spaced(info.ifIndex, info.name, info.type, info.state, info.mode, info.remoteId,
                     info.cidMode, info.portVlans.size()),
              "2 1/2 1 1 1 sub-2 2 1");
    char id[PPPOEIA_ID_SIZE] = "";
    EXPECT_EQ(entity.genRemoteIdByIntfVlan(2, 100, id), 0);
    EXPECT_STREQ(id, "sub-2");
    ASSERT_EQ(entity.setInterfaceRemoteId(2, ""), 0);
    std::string remote = "old";
    EXPECT_EQ(entity.getInterfaceRemoteId(2, remote), 0);
    EXPECT_EQ(remote, "");
    EXPECT_EQ(entity.getInterfaceInfo(77, info), 1);
}

template <auto Field>
std::string stored() {
    return spaced(ia::LockedBridge("br0").operator->()->*Field);
}

// Each setter beside the engine's own record, so that none lands in another's.
TEST_F(Settings, LandWhereTheyBelong) {
    using B = pppoeia_bridge;
    const struct {
        const char *name;
        int result;
        EngineProcess::Look look;
        const char *stored;
    } rows[] = {
        {"state", entity.setState(false), stored<&B::disabled>, "1"},
        {"shelf", entity.setShelfId("S5"), stored<&B::shelf_id>, "S5"},
        {"chassis", entity.setChassisId(-1), stored<&B::chassis_id>, "4294967295"},
        {"VSA mode", entity.setVsaMode(pppoeia::vsaMode_t(0)), stored<&B::vsa_mode>, "0"},
        {"Circuit ID", entity.setVsaCircuitIdState(false), stored<&B::vsa_insert_circuit_id>, "0"},
        {"C-VLAN", entity.setVsaCircuitIdCVlanState(true), stored<&B::vsa_circuit_id_cvlan>, "1"},
        {"Remote ID stays", 0, stored<&B::vsa_insert_remote_id>, "1"},
        {"Circuit-ID format", entity.setVsaCircuitIdFormat("c"), stored<&B::cid_format>, "c"},
        {"Remote-ID format", entity.setVsaRemoteIdFormat("r"), stored<&B::rid_format>, "r"},
        {"VLANs", entity.setVlanStateAll(true),
         [] { return spaced(ia::LockedBridge("br0")->vlan_enabled.test(3000)); }, "1"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(row.result, 0) << row.name;
        EXPECT_EQ(engine->look(row.look), row.stored) << row.name;
    }
}

TEST_F(Settings, ALabelOfTheMetricsIsOneWhateverItsText) {
    const auto found = [](std::vector<configFile::finding_t> &findings) {
        findings = {{configFile::finding_t::warning, "code", "port \"1\\\n\"", "", ""}};
        return 0;
    };
    configFile::instance().health = found;
    EXPECT_NE(ia::metrics_text().find(R"(subject="port \"1\\\n\""} 1)"), std::string::npos);
    configFile::instance().health.clear();
}

TEST_F(Settings, DefaultsOfTheNode) {
    described.interfaces.push_back(interface(4, InterfaceType::lag));
    announce();
    const pppoeia::settings_t all;
    EXPECT_EQ(spaced(all.state, all.vsaMode, all.vsaCircuitIdState, all.vsaRemoteIdState, all.debug,
                     all.agentIdString, all.chassisId, all.vlans.size(), all.reserved, all.logLevel,
                     "[" + all.cidFormat + "]", all.ridFormat),
              "0 1 1 1 0 KORVALEN:MEA 99 0 0 3 [] $PORT_REM_ID");
    std::string ports;
    for (const pppoeia::interfaceInfo_t &port : all.interfaces)
        ports += spaced(port.ifIndex, port.name, port.type, port.state, port.mode,
                        "[" + port.remoteId + port.circuitId + "]", port.cidMode,
                        port.portVlans.size()) +
                 ",";
    EXPECT_EQ(ports,
              "1 1/1 0 3 0 [] 0 0,2 1/2 1 0 1 [] 0 0,3 1/3 2 0 1 [] 0 0,4 1/4 7 3 0 [] 0 0,");
}

}  // namespace
