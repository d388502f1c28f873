// Which Circuit ID and Remote ID a subscriber gets.
#include "idgen/selection.h"

#include "pppoeia/fe.h"
#include "pppoeia/node.h"
#include "pppoeia/store.h"
#include "store/bridge_list.h"
#include "tests/idgen/scenario.h"

#include <cstring>

using namespace ia::test;

namespace {

using B = pppoeia_bridge;

constexpr std::uint16_t NONE = 0x0FFF;  // no VLAN

struct selection_row {
    const char *name;
    const char *id;  // null: the buffer stays as it was
    std::uint32_t port = DSL;
    std::uint16_t vid = 100;
    void (*change)(B &) = nullptr;
    const char *trace = "";
    const char *bytes = "";
    idGenType gen = ID_GEN_FRAME;
};

template <class Field>
void put(Field &field, const std::string &text) {
    std::strncpy(field, text.c_str(), sizeof field - 1);
}

pppoeia_port &dsl(B &bridge) {
    return bridge.ports[DSL - 1];
}

// The DSL port's Circuit IDs follow the bridge's format.
void custom(B &bridge, const std::string &format) {
    dsl(bridge).vsa_circuit_id_mode = PPPOEIA_CID_CUSTOM;
    put(bridge.cid_format, format);
}

// The frame in the buffer: VLAN 100 and customer VLAN 5, with priority bits.
const selection_row circuit_ids[] = {
    {"default", "KORVALEN:R2-S4 eth 3/2/1:100", DSL, 100, nullptr,
     "<br0> >> Selected CID mode: 0\n"},
    {"default, no VLAN", "KORVALEN:R2-S4 eth 3/2/1:<vid>", DSL, NONE, nullptr,
     "<br0> >> Interface CID mode: 0\n"},
    {"default, no VLAN, high bits", "KORVALEN:R2-S4 eth 3/2/1:<vid>", DSL, 0xFFFF},
    {"default, no VLAN, customer VLAN", "KORVALEN:R2-S4 eth 3/2/1:<vid>:<cvid>", DSL, NONE,
     [](B &b) { b.vsa_circuit_id_cvlan = 1; }},
    {"default, empty shelf", "KORVALEN: eth 3/1/1/1:<vid>", UPLINK, NONE,
     [](B &b) { b.shelf_id[0] = '\0'; }},
    {"default, customer VLAN", "KORVALEN:R2-S4 eth 3/2/1:100:5", DSL, 100,
     [](B &b) { b.vsa_circuit_id_cvlan = 1; }},
    {"default, customer VLAN 4095 with priority", "KORVALEN:R2-S4 eth 3/2/1:100:4095", DSL, 100,
     [](B &b) { b.vsa_circuit_id_cvlan = 1, receive_frame(b, 100, 0x2FFF); }},
    {"default, not a member", "KORVALEN:R2-S4 eth 3/2/1", DSL, 100,
     [](B &b) { dsl(b).vlan_member.reset(100); }},
    {"default, not a member, customer VLAN", "KORVALEN:R2-S4 eth 3/2/1:5", DSL, 100,
     [](B &b) { dsl(b).vlan_member.reset(100), b.vsa_circuit_id_cvlan = 1; }},
    {"default, member by the low 12 bits", "KORVALEN:R2-S4 eth 3/2/1:100", DSL, 0x3064,
     [](B &b) { dsl(b).vlan_member.reset().set(100); }},
    {"default shows the frame's VLAN", "KORVALEN:R2-S4 eth 3/2/1:200", DSL, 100,
     [](B &b) { receive_frame(b, 0xE0C8, 5); }},
    {"default of a query shows what was asked", "KORVALEN:R2-S4 eth 3/2/1:100:<cvid>", DSL, 100,
     [](B &b) { b.vsa_circuit_id_cvlan = 1, receive_frame(b, 200, 5); }, "", "", ID_GEN_QUERY},
    {"default without a frame", "KORVALEN:R2-S4 eth 3/2/1:100:<cvid>", DSL, 100,
     [](B &b) { b.vsa_circuit_id_cvlan = 1, b.frame.reset(); }},
    {"default of 63 characters", "KORVALEN:SSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSS eth 3/2/1:<vid>",
     DSL, NONE, [](B &b) { put(b.shelf_id, std::string(38, 'S')); }},
    {"default of the longest fields is cut",
     "VVVVVVVVVVVVVVVVVVV:SSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSS eth", DSL, NONE,
     [](B &b) {
         put(b.vendor, std::string(19, 'V'));
         put(b.shelf_id, std::string(39, 'S'));
         b.board_pos = 0x80000000;
     }},
    {"default, a board position is signed", "KORVALEN:R2-S4 eth -2147483648/2/1:100", DSL, 100,
     [](B &b) { b.board_pos = 0x80000000; }},

    {"ATM", "KORVALEN:R2-S4 atm 3/2:8.35", PVC, 100,
     [](B &b) { b.ports[PVC - 1].vsa_circuit_id_mode = 1; }, "<br0> >> Selected CID mode: 1\n"},
    {"ATM without a PVC", "KORVALEN:R2-S4 atm 3/2:-1.-1", PVC_UNSET, NONE,
     [](B &b) { b.ports[PVC_UNSET - 1].vsa_circuit_id_mode = 1; }},
    {"ATM is cut", "KORVALEN:SSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSSS atm 3/2:4095.6", PVC, NONE,
     [](B &b) {
         put(b.shelf_id, std::string(39, 'S'));
         b.ports[PVC - 1].vsa_circuit_id_mode = 1;
         b.ports[PVC - 1].vpi = 4095;
         b.ports[PVC - 1].vci = 65535;
     }},
    {"ATM of a DSL port", nullptr, DSL, 100, [](B &b) { dsl(b).vsa_circuit_id_mode = 1; }},

    {"custom, from the bridge", "12345/100/5", DSL, 100,
     [](B &b) { custom(b, "$PORT/$VLAN/$CVID"); },
     "<br0> >> Using global CID format='$PORT/$VLAN/$CVID'\n"},
    {"custom, from the port and VLAN", "own 2/1", DSL, 100,
     [](B &b) {
         custom(b, "bridge");
         dsl(b).port_vlans[100].cid_mode = 2;
         put(dsl(b).port_vlans[100].cid_format, "own $INTF");
     },
     "<br0> >> Using custom CID format from intf-VLAN='own $INTF'\n"},
    {"custom without a format", "", DSL, 100, [](B &b) { dsl(b).vsa_circuit_id_mode = 2; },
     "<br0> >> No custom CID format configured for intf=2, vid=100. Return empty CID\n"},
    {"custom without a customer VLAN", "<>", DSL, 100,
     [](B &b) {
         custom(b, "<$CVID>");
         receive_frame(b, 100, 0xEFFF);
     }},
    {"custom without a frame", "<|>", DSL, 100,
     [](B &b) {
         custom(b, "<$CVID|$CLNT_MAC>");
         b.frame.reset();
     }},
    {"custom of bytes", "A64", DSL, 100, [](B &b) { custom(b, "A$hVLAN"); },
     "<br0> >> Generated custom CID='A64'\n", "41 64"},
    {"custom of the longest format",
     "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", DSL, 100,
     [](B &b) { custom(b, std::string(128, 'x')); },
     "<br0> >> Cutting CHAR string from 128 to 63 chars"},

    {"the VLAN's mode wins", "KORVALEN:R2-S4 eth 3/2/1:100", DSL, 100,
     [](B &b) { dsl(b).vsa_circuit_id_mode = 2, dsl(b).port_vlans[100].cid_mode = 0; },
     "<br0> >> Intf-VLAN CID mode: 0\n"},
    {"another VLAN's mode does not", "bridge", DSL, 100,
     [](B &b) {
         custom(b, "bridge");
         dsl(b).port_vlans[101].cid_mode = 0;
     },
     "br_circuit_id_mode_port_vlan_get()=-ENOENT"},
    {"the VLAN's mode is not set", nullptr, DSL, 100,
     [](B &b) { put(dsl(b).port_vlans[100].cid_format, "own"); },
     "<br0> >> Selected CID mode: -1\n"},
    {"a mode that is none", nullptr, DSL, 100, [](B &b) { dsl(b).vsa_circuit_id_mode = 3; }},
    {"a port that was deleted", nullptr, DELETED, 100, nullptr,
     "br_port_vsa_circuit_id_mode_get(9)=-ENODEV"},
};

const selection_row remote_ids[] = {
    {"from the bridge", "line-2", DSL, 100, [](B &b) { put(b.rid_format, "$PORT_REM_ID"); },
     "<br0> >> Using global RID format='$PORT_REM_ID'\n"},
    {"from the port and VLAN", "own desk", DSL, 100,
     [](B &b) {
         put(b.rid_format, "bridge");
         put(dsl(b).port_vlans[100].rid_format, "own $INTF_DSCR");
     },
     "<br0> >> Using custom RID format from intf-VLAN='own $INTF_DSCR'\n"},
    {"empty at the port and VLAN", "bridge", DSL, 100,
     [](B &b) { put(b.rid_format, "bridge"), put(dsl(b).port_vlans[100].cid_format, "CID"); },
     "br_remote_id_format_get(br0)"},
    {"without a format", "", DSL, 100, nullptr,
     "<br0> >> No custom RID format configured for intf=2, vid=100. Return empty RID\n"},
    {"the Circuit ID's mode does not matter", "bridge", DSL, 100,
     [](B &b) { put(b.rid_format, "bridge"), dsl(b).vsa_circuit_id_mode = 1; },
     "<br0> >> Generated custom RID='bridge'\n"},
    {"never has the frame's customer VLAN", "<>", DSL, 100,
     [](B &b) { put(b.rid_format, "<$CVID>"); }, "<br0> >> Invalid CVID\n"},
    {"of a query has the test data's", "<3999>", DSL, 100,
     [](B &b) { put(b.rid_format, "<$CVID>"); }, "", "", ID_GEN_QUERY},
    {"of bytes", "64", DSL, 100, [](B &b) { put(b.rid_format, "$hVLAN"); }, "", "64"},
    {"of 128 characters is cut", "yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy",
     DSL, 100, [](B &b) { put(b.rid_format, std::string(128, 'y')); }},
};

class Selection : public IdTest {
protected:
    template <class Build>
    void check(const selection_row &row, Build build) {
        SCOPED_TRACE(row.name);
        pppoeia_bridge bridge("br0", 13);
        fill(bridge);
        receive_frame(bridge, 0xA064, 0x6005);
        if (row.change) row.change(bridge);
        clear_syslog();
        std::string buffer(80, '#');
        std::vector<std::uint8_t> binary;
        build(buffer.data(), &bridge, &bridge.ports[row.port - 1], row.vid, binary, row.gen);
        const std::string untouched(80, '#');
        if (row.id) {
            EXPECT_STREQ(buffer.c_str(), row.id);
            EXPECT_LE(std::strlen(row.id), 63U);
            EXPECT_EQ(buffer.substr(64), untouched.substr(64));
        } else {
            EXPECT_EQ(buffer, untouched);
        }
        EXPECT_EQ(hex_dump(binary), row.bytes);
        EXPECT_TRUE(was_traced(row.trace));
    }
};

TEST_F(Selection, OfCircuitIdsIsAsTabled) {
    for (const selection_row &row : circuit_ids) check(row, pppoeia_build_circuit_id);
}

TEST_F(Selection, OfRemoteIdsIsAsTabled) {
    for (const selection_row &row : remote_ids) check(row, pppoeia_build_remote_id);
}

TEST_F(Selection, NeedsABufferABridgeAndAPort) {
    pppoeia_bridge bridge("br0", 13);
    fill(bridge);
    char out[64] = "before";
    std::vector<std::uint8_t> binary;
    pppoeia_build_circuit_id(nullptr, &bridge, &bridge.ports[0], 100, binary, ID_GEN_FRAME);
    pppoeia_build_circuit_id(out, nullptr, &bridge.ports[0], 100, binary, ID_GEN_FRAME);
    pppoeia_build_circuit_id(out, &bridge, nullptr, 100, binary, ID_GEN_FRAME);
    EXPECT_EQ(
        pppoeia_build_remote_id(nullptr, &bridge, &bridge.ports[0], 100, binary, ID_GEN_FRAME), 0);
    EXPECT_EQ(pppoeia_build_remote_id(out, nullptr, &bridge.ports[0], 100, binary, ID_GEN_FRAME),
              0);
    EXPECT_STREQ(out, "before");
}

// Asking by name, on bridges "old", "br0" and "new".
class Query : public IdTest {
protected:
    Query() {
        ia::bridge_list_create();
        for (const char *name : {"old", "br0", "new"})
            ia::bridge_list_link(std::make_shared<pppoeia_bridge>(name, 13));
        bridge_ = ia::bridge_list_find("br0");
        fill(*bridge_);
        receive_frame(*bridge_, 200, 5);
        put(bridge_->rid_format, "$PORT_REM_ID $VLAN $CLNT_MAC");
        clear_syslog();
    }
    ~Query() override { ia::bridge_list_release(); }

    ia::BridgePtr bridge_;
    char out_[64] = "before";
};

TEST_F(Query, ByNameAnswersWithTheText) {
    EXPECT_EQ(fe_gen_circuit_id_by_intf_vlan("br0", DSL, 100, out_), 0);
    EXPECT_STREQ(out_, "KORVALEN:R2-S4 eth 3/2/1:100");
    EXPECT_EQ(fe_gen_remote_id_by_intf_vlan("br0", DSL, 100, out_), 0);
    EXPECT_STREQ(out_, "line-2 100 11:22:33:44:55:66");
    put(bridge_->rid_format, "$hVLAN");
    EXPECT_EQ(fe_gen_remote_id_by_intf_vlan("br0", DSL, 100, out_), 0);
    EXPECT_STREQ(out_, "64");
    EXPECT_TRUE(was_traced("fe_gen_remote_id_by_intf_vlan(br0, 2)"));
}

TEST_F(Query, OfAPortsCircuitId) {
    EXPECT_EQ(cache_pppoeia_port_circuit_id_get("br0", DSL, out_), 0);
    EXPECT_STREQ(out_, "KORVALEN:R2-S4 eth 3/2/1:<vid>");
    custom(*bridge_, "$CLNT_MAC|$VLAN");  // the frame's, and none
    EXPECT_EQ(cache_pppoeia_port_circuit_id_get("br0", DSL, out_), 0);
    EXPECT_STREQ(out_, "02:00:5E:10:00:01|");
    EXPECT_EQ(traces().back(), "cache_pppoeia_port_circuit_id_get()=0");
}

// The IDs that a frame would have, with the customer VLAN asked for or left open.
TEST_F(Query, OfALineAnswersAsAFrameWould) {
    const pppoeia_mac mac = {{2, 0, 0, 0, 0, 9}};
    put(bridge_->rid_format, "$hVLAN$hCLNT_MAC");
    const struct {
        const char *format;  // null: the default form
        std::uint16_t vid, cvid;
        const char *circuit_id;
    } rows[] = {
        {nullptr, 100, 0x0FFF, "KORVALEN:R2-S4 eth 3/2/1:100:<cvid>"},
        {nullptr, 100, 7, "KORVALEN:R2-S4 eth 3/2/1:100:7"},
        {nullptr, NONE, 7, "KORVALEN:R2-S4 eth 3/2/1:<vid>:<cvid>"},
        {"$VLAN/$CVID/$CLNT_MAC", 100, 7, "100/7/02:00:00:00:00:09"},
        {"$VLAN/$CVID/$CLNT_MAC", NONE, 0x0FFF, "//02:00:00:00:00:09"},
    };
    bridge_->vsa_circuit_id_cvlan = 1;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.circuit_id);
        dsl(*bridge_).vsa_circuit_id_mode = row.format ? PPPOEIA_CID_CUSTOM : PPPOEIA_CID_DEFAULT;
        put(bridge_->cid_format, row.format ? row.format : "");
        ia::LineIdsBlock ids{};
        EXPECT_EQ(ia::fe_line_ids("br0", DSL, row.vid, row.cvid, &mac, &ids), 0);
        EXPECT_STREQ(ids.circuit_id.text, row.circuit_id);
        EXPECT_EQ(ids.circuit_id.size, std::strlen(row.circuit_id));
        EXPECT_EQ(std::memcmp(ids.circuit_id.bytes, row.circuit_id, ids.circuit_id.size), 0);
        EXPECT_EQ(ids.circuit_id.binary, 0U);
        EXPECT_EQ(ids.remote_id.binary, 1U);
        const std::vector<std::uint8_t> sent(ids.remote_id.bytes,
                                             ids.remote_id.bytes + ids.remote_id.size);
        EXPECT_EQ(hex_dump(sent), row.vid == 100 ? "64 02 00 00 00 00 09" : "00 02 00 00 00 00 09");
        EXPECT_EQ(bridge_->frame->vlan, 200) << "the frame in hand is as it was";
    }
}

TEST_F(Query, RefusesUnknownBridgesAndAbsentPorts) {
    const auto refused = [this](const char *bridge, unsigned port, int result, const char *trace) {
        const std::string suffix(trace);
        EXPECT_EQ(fe_gen_circuit_id_by_intf_vlan(bridge, port, 100, out_), result);
        EXPECT_TRUE(was_traced("fe_gen_circuit_id_by_intf_vlan" + suffix));
        EXPECT_EQ(fe_gen_remote_id_by_intf_vlan(bridge, port, 100, out_), result);
        EXPECT_TRUE(was_traced("fe_gen_remote_id_by_intf_vlan" + suffix));
        EXPECT_EQ(cache_pppoeia_port_circuit_id_get(bridge, port, out_), result);
        EXPECT_TRUE(was_traced("cache_pppoeia_port_circuit_id_get" + suffix));
        ia::LineIdsBlock ids{};
        const pppoeia_mac mac{};
        EXPECT_EQ(ia::fe_line_ids(bridge, port, 100, 7, &mac, &ids), result);
        EXPECT_STREQ(out_, "before");
    };
    refused("br1", DSL, -2, "()=-ENOENT");
    refused("br", DSL, -2, "()=-ENOENT");
    refused("br0", 0, -19, "(0)=-ENODEV");
    refused("br0", DELETED, -19, "(9)=-ENODEV");
    refused("br0", LAST_SLOT, -19, "(13)=-ENODEV");
    refused("br0", 0xFFFFFFFF, -19, "(-1)=-ENODEV");
    ia::bridge_list_release();
    refused("br0", DSL, -2, "()=-ENOENT");
}

}  // namespace
