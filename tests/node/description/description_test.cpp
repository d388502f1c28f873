#include "node/description/description.h"

#include "tests/node/description/description_file.h"

#include <gtest/gtest.h>

using namespace ia::node;

namespace {

TEST(Description, holds_every_key_of_every_section) {
    const DescriptionFile file(R"([node]
board = 3
shelf = "rack 7"
contact = "noc@example.net"
location = "Hauptstraße 1"
name = "node-a"
management = "eth9"

[[bridge]]
name = "br0"
device = "lan"
ports = 65536
stag_ethertype = 0x9100
max_pdu = 1522
line_rate = 0
line_burst = 7
address_life = 60
checks = "enforce"
servers = ["02:00:00:00:99:01"]
servers_first = 2
vsa_mode = "keep"
enabled = false
circuit_id_cvlan = true
circuit_id_format = "$PORT"
remote_id_format = ""
log_level = -1

[[interface]]
id = 1
name = "1/1"
type = "dsl"
device = "dsl1"
[[interface]]
id = 65535
name = "1/1/pvc1"
type = "atm"
device = "dsl1.8.35"
bridge = "br0"
parent = 1
panel = "P1"
port = 1
pvc = 4
vpi = 8
vci = 35
description = "flat 12"
remote_id = "customer 4711"
role = "client"
trust = "untrusted"
circuit_id_mode = "atm"

[[vlan]]
id = 4095
name = "voice"
bridge = "br0"
enabled = false
[[vlan]]
id = 0

[[port_vlan]]
port = 65535
vlan = 0
circuit_id_mode = "custom"
circuit_id_format = { hex = "5ae9" }
)");
    const Description description = read_description(file.path());

    EXPECT_EQ(description.file, file.path());
    EXPECT_EQ(description.board, 3);
    EXPECT_EQ(description.shelf, "rack 7");
    EXPECT_EQ(description.contact, "noc@example.net");
    EXPECT_EQ(description.location, "Hauptstraße 1");
    EXPECT_EQ(description.name, "node-a");
    EXPECT_EQ(description.management_device, "eth9");

    ASSERT_EQ(description.bridges.size(), 1U);
    const Bridge &first = description.bridges[0];
    EXPECT_EQ(first.name, "br0");
    EXPECT_EQ(first.device, "lan");
    EXPECT_EQ(first.ports, 65536U);
    EXPECT_EQ(first.stag_ethertype, 0x9100);
    EXPECT_EQ(first.max_pdu, 1522U);
    EXPECT_EQ(first.limits.line_rate, 0U);
    EXPECT_EQ(first.limits.line_burst, 7U);
    EXPECT_FALSE(first.limits.port_rate);
    EXPECT_EQ(first.bridge_limits.address_life, 60U);
    EXPECT_EQ(first.bridge_limits.checks, Checks::enforce);
    EXPECT_EQ(first.bridge_limits.servers, (std::vector<Address>{{2, 0, 0, 0, 0x99, 1}}));
    EXPECT_EQ(first.bridge_limits.servers_first, 2U);
    EXPECT_EQ(first.settings, (AgentSettings{.enabled = false,
                                             .vsa_mode = 0,
                                             .insert_circuit_id = {},
                                             .insert_remote_id = {},
                                             .circuit_id_cvlan = true,
                                             .shelf = {},
                                             .circuit_id_format = "$PORT",
                                             .remote_id_format = "",
                                             .log_level = -1}));
    EXPECT_EQ(first.line, 9U);

    ASSERT_EQ(description.interfaces.size(), 2U);
    const Interface &dsl = description.interfaces[0];
    EXPECT_EQ(dsl.bridge, "br0");
    EXPECT_EQ(dsl.settings, PortSettings());
    EXPECT_FALSE(dsl.vpi || dsl.vci);
    const Interface &pvc = description.interfaces[1];
    EXPECT_EQ(pvc.id, 65535U);
    EXPECT_EQ(pvc.name, "1/1/pvc1");
    EXPECT_EQ(pvc.type, InterfaceType::atm);
    EXPECT_EQ(pvc.device, "dsl1.8.35");
    EXPECT_EQ(pvc.parent, 1U);
    EXPECT_EQ(pvc.panel, "P1");
    EXPECT_EQ(pvc.port, 1U);
    EXPECT_EQ(pvc.pvc, 4U);
    EXPECT_EQ(pvc.vpi, 8U);
    EXPECT_EQ(pvc.vci, 35U);
    EXPECT_EQ(pvc.description, "flat 12");
    EXPECT_EQ(pvc.settings, (PortSettings{1, 1, "customer 4711", 1}));
    EXPECT_EQ(pvc.line, 33U);

    ASSERT_EQ(description.vlans.size(), 2U);
    EXPECT_EQ(description.vlans[0].id, 4095);
    EXPECT_EQ(description.vlans[0].name, "voice");
    EXPECT_EQ(description.vlans[0].bridge, "br0");
    EXPECT_EQ(description.vlans[0].settings.enabled, false);
    EXPECT_EQ(description.vlans[1].bridge, "br0");
    EXPECT_EQ(description.vlans[1].settings.enabled, std::nullopt);

    ASSERT_EQ(description.port_vlans.size(), 1U);
    const PortVlan &line = description.port_vlans[0];
    EXPECT_EQ(line.port, 65535U);
    EXPECT_EQ(line.vlan, 0U);
    EXPECT_EQ(line.settings, (LineSettings{2, "Z\xE9", {}}));
    EXPECT_EQ(description.warnings, "");
}

// Texts that fill their field to the last byte.
TEST(Description, takes_texts_up_to_the_limit) {
    const auto filled = [](std::size_t size) { return '"' + std::string(size, 'x') + "\"\n"; };
    const DescriptionFile file("[node]\nshelf = " + filled(39) + "contact = " + filled(64) +
                               "[[bridge]]\nname = 'br0'\ndevice = " + filled(15) +
                               "[[interface]]\nid = 255\ntype = 'eth'\nname = " + filled(14) +
                               "device = " + filled(15) + "panel = " + filled(7) +
                               "description = " + filled(64) + "remote_id = " + filled(63) +
                               "[[vlan]]\nid = 1\nname = " + filled(31));
    EXPECT_EQ(file.problems(), "");
}

// A Linux bridge takes 1,023 ports; a port with others above it need not be one.
TEST(Description, holds_a_bridge_full_of_interfaces) {
    std::string text = "[[bridge]]\nname = 'br0'\nports = 4001\n[[vlan]]\nid = 100\n";
    const auto add = [&](int id, const std::string &more) {
        const std::string number = std::to_string(id);
        text += "[[interface]]\nid = " + number + "\nname = '1/" + number + "'\ndevice = 'sub" +
                number + "'\n" + more;
    };
    for (int id = 1; id <= 1023; ++id) {
        add(2000 + id, "type = 'dsl'\n");
        add(id, "type = 'atm'\nparent = " + std::to_string(2000 + id) + "\n");
    }
    const DescriptionFile file(text);
    const Description description = read_description(file.path());
    ASSERT_EQ(description.interfaces.size(), 2046U);
    EXPECT_EQ(description.interfaces.back().device, "sub1023");
    EXPECT_EQ(description.bridges[0].device, "br0");
    EXPECT_EQ(description.bridges[0].stag_ethertype, 0x88A8);
    EXPECT_EQ(description.bridges[0].settings, AgentSettings());
    EXPECT_EQ(description.warnings,
              file.path() +
                  ":1: warning: VLAN 0 is not listed: frames of subscribers without a tag, or "
                  "with a priority tag, pass unmarked; list a [[vlan]] with id = 0");
    add(1024, "type = 'access'\n");
    EXPECT_EQ(DescriptionFile(text).problems(),
              "FILE:11259: this is port 1024 of the bridge, expected at most 1023: a Linux bridge "
              "takes no more");
}

TEST(Description, examples_are_good) {
    for (const char *name : {"access.toml", "gpon.toml", "dsl.toml"}) {
        const Description example = read_description(std::string(EXAMPLES_DIR "/") + name);
        EXPECT_EQ(example.warnings, "") << name;
        EXPECT_EQ(example.settings_file, "/var/lib/pppoeia/settings.toml") << name;
        EXPECT_TRUE(example.settings_auto) << name;
    }
}

}  // namespace
