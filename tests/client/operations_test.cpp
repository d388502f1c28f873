// Every operation: its request on the wire, its effect in the engine's process
// and in the client's own store.
#include "client/request.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"
#include "tests/client/operation_rows.h"
#include "tests/client/recorder.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstring>
#include <set>

using namespace ia::test;

namespace {

using Operations = EngineAt;

TEST_F(Operations, AllAreHere) {
    std::set<int> expected;
    for (int id = 0; id <= 88; ++id) expected.insert(id);
    for (const int unused : {3,  5,  9,  11, 14, 16, 18, 20, 22, 24, 26, 33, 36, 38,
                             41, 43, 46, 48, 49, 53, 55, 57, 59, 61, 64, 65, 66, 84})
        expected.erase(unused);
    std::set<int> ids;
    for (const OperationRow &row : operation_rows()) ids.insert(row.id);
    EXPECT_EQ(ids, expected);
    EXPECT_EQ(operation_rows().size(), expected.size());
    EXPECT_STREQ(PPPOEIA_ENGINE_PATH, "/var/run/pppoeia_fe_main");
}

// The rows' requests are put together from parameters; these say what bytes
// that means.
TEST_F(Operations, BytesOfWholeRequests) {
    const auto bytes_of = [](int id) {
        const auto row =
            std::ranges::find_if(operation_rows(), [id](const auto &r) { return r.id == id; });
        return to_hex(request(row->id, row->params));
    };
    EXPECT_EQ(bytes_of(12), to_hex(hex("0101 0300 0c000000"
                                       "0000 0000 04000000 'br0' 00"
                                       "0200 0000 02000000 6400"
                                       "0400 0000 04000000 01000000")));
    EXPECT_EQ(bytes_of(68), to_hex(hex("0101 0400 44000000"
                                       "0000 0000 04000000 'br0' 00"
                                       "0400 0000 04000000 01000000"
                                       "0200 0000 02000000 ff0f"
                                       "0000 0100 00000000")));
    EXPECT_EQ(bytes_of(29), to_hex(hex("0101 0500 1d000000"
                                       "0000 0000 04000000 'br0' 00"
                                       "0400 0000 04000000 01000000"
                                       "0000 0000 05000000 'dev1' 00"
                                       "0000 0000 06000000 '1/1/1' 00"
                                       "3000 0000 30000000 04030201 'atm' 000000000000000000"
                                       "09000000 'B' 00000000000000 0201 eeff 01000000"
                                       "0d0c0b0a 44332211 88776655")));
}

TEST_F(Operations, SendTheirRequestAndRepeatNoRefusal) {
    Recorder recorder(path_);
    pppoeia_cache_init();
    for (const OperationRow &row : operation_rows()) {
        EXPECT_EQ(row.call(), 1) << "operation " << int{row.id};
        EXPECT_EQ(to_hex(recorder.take()), to_hex(request(row.id, row.params)))
            << "operation " << int{row.id};
    }
    EXPECT_TRUE(ia::bridge_list_snapshot().empty());
}

TEST_F(Operations, ChangeTheEngineAndTheStore) {
    EngineProcess engine(path_);
    for (const OperationRow &row : operation_rows()) {
        EXPECT_EQ(row.call(), 0) << "operation " << int{row.id};
        EXPECT_EQ(engine.look(row.look), row.in_engine)
            << "operation " << int{row.id} << " in the engine";
        EXPECT_EQ(row.look(), row.in_store.value_or(row.in_engine))
            << "operation " << int{row.id} << " in the store";
    }
}

// --- what comes back -----------------------------------------------------------

class Outputs : public Operations {
protected:
    void SetUp() override {
        pppoeia_port_info info{};
        std::copy_n("eth", 3, info.intf_type);
        ASSERT_EQ(pppoeia_init(), 0);
        ASSERT_EQ(pppoeia_bridge_add(br, 8), 0);
        ASSERT_EQ(pppoeia_port_add(br, 1, "dev1", "1/1/1", &info), 0);
        ASSERT_EQ(pppoeia_bridge_shelf_id_set(br, "s1"), 0);
        ASSERT_EQ(pppoeia_remote_id_format_set(br, "remote"), 0);
    }

    EngineProcess engine_{path_};
};

TEST_F(Outputs, CountersOfTheEngine) {
    engine_.look([] {
        const ia::LockedBridge bridge(br);
        bridge->stats = {1, 2, 3, 4, 5, 6, 7, 8, 0x01020304};
        bridge->ports[0].stats.dropped = 11;
        return std::string();
    });
    pppoeia_stats stats{};
    EXPECT_EQ(pppoeia_bridge_stats_get(br, &stats), 0);
    const pppoeia_stats counted{1, 2, 3, 4, 5, 6, 7, 8, 0x01020304};
    EXPECT_EQ(std::memcmp(&stats, &counted, sizeof stats), 0);
    EXPECT_EQ(pppoeia_port_stats_get(br, 1, &stats), 0);
    EXPECT_EQ(stats.dropped, 11U);
    EXPECT_EQ(pppoeia_port_stats_reset(br, 1), 0);
    EXPECT_EQ(pppoeia_port_stats_get(br, 1, &stats), 0);
    EXPECT_EQ(stats.dropped, 0U);
    EXPECT_EQ(pppoeia_bridge_stats_reset(br), 0);
    EXPECT_EQ(pppoeia_bridge_stats_get(br, &stats), 0);
    EXPECT_EQ(stats.bypassed, 0U);
}

TEST_F(Outputs, ARefusalLeavesTheBuffer) {
    pppoeia_stats stats{};
    stats.padi = 42;
    EXPECT_EQ(pppoeia_port_stats_get(br, 7, &stats), -19);
    EXPECT_EQ(stats.padi, 42U);
    char id[PPPOEIA_ID_SIZE] = "before";
    EXPECT_EQ(gen_circuit_id_by_intf_vlan("none", 1, 0xFFF, id), -2);
    EXPECT_STREQ(id, "before");
}

TEST_F(Outputs, GeneratedIds) {
    char id[PPPOEIA_ID_SIZE];
    EXPECT_EQ(gen_circuit_id_by_intf_vlan(br, 1, 0xFFF, id), 0);
    EXPECT_STREQ(id, "KORVALEN:s1 eth 3/1/1/1:<vid>");
    EXPECT_EQ(gen_remote_id_by_intf_vlan(br, 1, 0xFFF, id), 0);
    EXPECT_STREQ(id, "remote");
    // An ATM line without its parameters has no ID.
    EXPECT_EQ(pppoeia_port_vsa_circuit_id_mode_set(br, 1, PPPOEIA_CID_ATM), 0);
    EXPECT_EQ(gen_circuit_id_by_intf_vlan(br, 1, 0xFFF, id), 0);
    EXPECT_STREQ(id, "");
    // As long as they get.
    EXPECT_EQ(pppoeia_remote_id_format_set(br, std::string(100, 'x').c_str()), 0);
    EXPECT_EQ(gen_remote_id_by_intf_vlan(br, 1, 0xFFF, id), 0);
    EXPECT_EQ(id, std::string(63, 'x'));
}

// --- reading, without the engine -------------------------------------------------

TEST_F(Operations, TheStoreAnswersItsReadersAlone) {
    pppoeia_port_info info{};
    std::copy_n("eth", 3, info.intf_type);
    pppoeia_cache_init();
    ASSERT_EQ(pppoeia_cache_on_bridge_add(br, 8), 0);
    ASSERT_EQ(cache_pppoeia_port_add(br, 1, "dev1", "1/1/1", &info), 0);
    ASSERT_EQ(cache_pppoeia_circuit_id_mode_port_vlan_set(br, 1, 200, PPPOEIA_CID_ATM), 0);
    ASSERT_EQ(cache_pppoeia_circuit_id_format_port_vlan_set(br, 1, 100, "c"), 0);

    pppoeia_port_vlan_info entry{};
    EXPECT_EQ(pppoeia_port_vlan_get_first(br, 1, &entry), 0);
    EXPECT_EQ(entry.vlan_id, 100);
    EXPECT_EQ(pppoeia_port_vlan_get_next(br, 1, 100, &entry), 0);
    EXPECT_EQ(entry.vlan_id, 200);
    EXPECT_EQ(pppoeia_port_vlan_get_next(br, 1, 200, &entry), -2);
    EXPECT_EQ(pppoeia_port_vlan_info_get(br, 1, 100, &entry), 0);
    EXPECT_STREQ(entry.cid_format, "c");
    char id[PPPOEIA_ID_SIZE] = "";
    EXPECT_EQ(pppoeia_port_circuit_id_get(br, 1, id), 0);
    EXPECT_STREQ(id, "KORVALEN: eth 3/1/1/1:<vid>");
}

}  // namespace
