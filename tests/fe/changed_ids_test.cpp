// A line's frames come again and again; every change shows with the next one.
#include "tests/fe/running_bridge.h"
#include "tests/support/datagrams.h"

namespace ia::test {
namespace {

constexpr char format[] =
    "$SHELF|$CHASSIS|$INTF_DSCR|$VLAN|$VLAN_NAME|$CVID|$SYSNAME|$PORT_REM_ID|";

struct change_row {
    const char *name;
    int (*change)();
    const char *id;
};

// One after the other.
const change_row changes[] = {
    {"shelf", [] { return cache_pppoeia_bridge_shelf_id_set(bridge, "s2"); },
     "s2|99|line|100|inet|5|node|home|"},
    {"chassis", [] { return cache_pppoeia_bridge_chassis_id_set(bridge, 8); },
     "s2|8|line|100|inet|5|node|home|"},
    {"description", [] { return fe_pppoeia_bridge_intf_descr_set(bridge, sub, "l2"); },
     "s2|8|l2|100|inet|5|node|home|"},
    {"VLAN name", [] { return cache_pppoeia_vlan_name_set(bridge, 100, "iptv"); },
     "s2|8|l2|100|iptv|5|node|home|"},
    {"system name", [] { return fe_pppoeia_bridge_sysname_set(bridge, "n2"); },
     "s2|8|l2|100|iptv|5|n2|home|"},
    {"Remote ID", [] { return cache_pppoeia_port_remote_id_set(bridge, sub, "r2"); },
     "s2|8|l2|100|iptv|5|n2|r2|"},
    {"an entry of the VLAN's own",
     [] {
         return cache_pppoeia_circuit_id_mode_port_vlan_set(bridge, sub, 100, PPPOEIA_CID_CUSTOM);
     },
     "s2|8|l2|100|iptv|5|n2|r2|"},
    {"a format of the VLAN's own",
     [] { return cache_pppoeia_circuit_id_format_port_vlan_set(bridge, sub, 100, "own $SHELF"); },
     "own s2"},
    {"another one",
     [] { return cache_pppoeia_circuit_id_format_port_vlan_set(bridge, sub, 100, "$SHELF"); },
     "s2"},
    {"the VLAN's format gone",
     [] { return cache_pppoeia_circuit_id_format_port_vlan_set(bridge, sub, 100, ""); },
     "s2|8|l2|100|iptv|5|n2|r2|"},
    {"the bridge's format", [] { return cache_pppoeia_circuit_id_format_set(bridge, "$CVID"); },
     "5"},
    {"no format", [] { return cache_pppoeia_circuit_id_format_set(bridge, ""); }, ""},
};

class ChangedIds : public RunningBridge {
protected:
    void SetUp() override {
        RunningBridge::SetUp();
        ASSERT_EQ(cache_pppoeia_vlan_add(bridge, 100), 0);
        ASSERT_EQ(cache_pppoeia_vlan_name_set(bridge, 100, "inet"), 0);
        ASSERT_EQ(fe_pppoeia_bridge_sysname_set(bridge, "node"), 0);
        ASSERT_EQ(fe_pppoeia_bridge_intf_descr_set(bridge, sub, "line"), 0);
        ASSERT_EQ(cache_pppoeia_port_remote_id_set(bridge, sub, "home"), 0);
        ASSERT_EQ(cache_pppoeia_bridge_vsa_insert_remote_id_set(bridge, 0), 0);
        ASSERT_EQ(cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, sub, PPPOEIA_CID_CUSTOM), 0);
        ASSERT_EQ(cache_pppoeia_circuit_id_format_set(bridge, format), 0);
    }

    // Of a PADI on a VLAN and customer VLAN.
    std::string circuit_id(std::uint16_t vlan = 100, std::uint16_t cvlan = 5,
                           const char *source = "020000000001") {
        const Bytes sent =
            datagram({.port = sub, .vlan = vlan, .cvlan = cvlan},
                     hex(std::string("ffffffffffff ") + source + " 8100 0064 8863 1109 0000 0000"));
        const Bytes came = exchange(sent);
        constexpr std::size_t in_front = 4 + 4 + 2;  // tag, vendor, sub-option
        if (came.size() < sent.size() + in_front) return "nothing";
        return {came.begin() + static_cast<std::ptrdiff_t>(sent.size() + in_front), came.end()};
    }
};

TEST_F(ChangedIds, ShowWithTheNextFrame) {
    for (int frame = 0; frame < 3; ++frame)
        EXPECT_EQ(circuit_id(), "s1|99|line|100|inet|5|node|home|");
    for (const change_row &row : changes) {
        ASSERT_EQ(row.change(), 0) << row.name;
        for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(circuit_id(), row.id) << row.name;
    }
}

TEST_F(ChangedIds, AreThoseOfTheFrameThatCame) {
    ASSERT_EQ(cache_pppoeia_circuit_id_format_set(bridge, "$VLAN $CVID $CLNT_MAC $SHELF"), 0);
    for (int round = 0; round < 2; ++round) {
        for (int frame = 0; frame < 3; ++frame)
            EXPECT_EQ(circuit_id(), "100 5 02:00:00:00:00:01 s1");
        EXPECT_EQ(circuit_id(100, 5, "0200000000fe"), "100 5 02:00:00:00:00:FE s1");
        EXPECT_EQ(circuit_id(100, 6), "100 6 02:00:00:00:00:01 s1");
    }
}

}  // namespace
}  // namespace ia::test
