#include "tests/idgen/scenario.h"

#include "diag/test_data.h"

#include <algorithm>
#include <cstring>

namespace ia::test {
namespace {

struct port_row {
    std::uint32_t id;
    std::uint32_t kind;
    std::string_view type;
    std::string_view name;
    std::string_view remote_id;
    std::string_view descr;
    std::uint32_t parent;
    pppoeia_port_location location;
};

constexpr port_row ports[] = {
    {UPLINK, 1, "eth", "1/1/1", "uplink", "to core", 0, {"A", 0, {}, 1, 7, 0, 0}},
    {DSL, 2, "dsl", "2/1", "line-2", "desk", 0, {"PNL-7", 0, {}, 0, 12345, 0, 0}},
    {PVC, INTF_KIND_ATM_PVC, "atm", "2/1:1", "", "", DSL, {"PNL-7", 0, {}, 0, 2, 5, 0}},
    {PVC_UNSET, INTF_KIND_ATM_PVC, "atm", "2/1:2", "own-4", "", DSL, {"", 0, {}, 0, 2, 6, 0}},
    {ONU, INTF_KIND_ONU, "onu", "3/31", "onu-agent", "flat 12", 0, {"", 0, {}, 2, 3, 31, 0}},
    {GEM, INTF_KIND_GEM, "gem", "3/31/200", "", "unseen", ONU, {"", 0, {}, 2, 3, 31, 200}},
    {GEM_NO_PARENT, INTF_KIND_GEM, "gem", "g7", "", "unseen", 0, {"", 0, {}, 2, 3, 1, 1}},
    {GEM_GONE_PARENT, INTF_KIND_GEM, "gem", "g8", "", "unseen", DELETED, {"", 0, {}, 2, 3, 1, 2}},
    {DELETED, INTF_KIND_ONU, "onu", "3/9", "old", "old flat", 0, {"", 0, {}, 2, 3, 9, 0}},
    {MANAGEMENT, INTF_KIND_MANAGEMENT, "mng", "mng", "", "", 0, {"", 0, {}, 2, 0, 0, 0}},
    {BARE, 0, "", "", "", "", 0, {"", 0, {}, 2, 0, 0, 0}},
    {GEM_LOST, INTF_KIND_GEM, "gem", "g12", "", "unseen", NO_SUCH_PORT, {"", 0, {}, 2, 3, 1, 3}},
};

void put(char *field, std::string_view text) {
    *std::ranges::copy(text, field).out = '\0';
}

}  // namespace

void fill(pppoeia_bridge &bridge) {
    put(bridge.shelf_id, "R2-S4");
    bridge.chassis_id = 7;
    put(bridge.sysname, "olt-7");
    put(bridge.location, "Hall B");
    put(bridge.contact, "noc@example.net");
    put(bridge.vlans[100].name, "internet");
    bridge.vlans[200];
    for (const port_row &row : ports) {
        pppoeia_port &port = bridge.ports[row.id - 1];
        port.port_id = row.id;
        if (row.id != DELETED) put(port.dev_name, "dev" + std::to_string(row.id));
        port.intf_kind = row.kind;
        put(port.intf_type, row.type);
        put(port.port_name, row.name);
        put(port.remote_id, row.remote_id);
        put(port.intf_descr, row.descr);
        port.parent_id = row.parent;
        port.location = row.location;
        port.vpi = port.vci = 0xFFFFFFFF;
    }
    bridge.ports[PVC - 1].vpi = 8;
    bridge.ports[PVC - 1].vci = 35;
    put(bridge.ports[MANAGEMENT - 1].dev_name, "mng0");
    put(bridge.ports[ONU - 1].cpe_serial, "KRVL00000042");
    bridge.ports[ONU - 1].cpe_mac = {{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}};
    put(bridge.ports[DELETED - 1].cpe_serial, "OLD0");
}

void receive_frame(pppoeia_bridge &bridge, std::uint16_t vlan, std::uint16_t cvlan) {
    bridge.frame = {vlan, cvlan, {{0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}}};
}

void know_the_platform() {
    reset_node();
    node().ipv4 = {{10, 1, 2, 3}};
    node().ipv6 = "2001:db8::1";
    node().management_mac = hex("0a0b0c0d0e0f");
}

IdTest::IdTest() {
    know_the_platform();
    set_test_data({});
    clear_syslog();
}

std::string hex_dump(const std::vector<std::uint8_t> &bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char two[4];
        std::snprintf(two, sizeof two, "%s%02X", text.empty() ? "" : " ", byte);
        text += two;
    }
    return text;
}

testing::AssertionResult was_traced(std::string_view message) {
    if (message.empty() || traced(message)) return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure() << "not traced: " << message << "\ntraced:";
    for (const std::string &line : traces()) failure << "\n  " << line;
    return failure;
}

}  // namespace ia::test
