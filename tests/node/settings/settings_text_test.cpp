// Settings as TOML: what is written, what is read, what is refused.
#include "node/settings/settings_text.h"

#include "node/description/read_description.h"

#include <gtest/gtest.h>
#include <string>

using namespace ia::node;

namespace {

// One of everything.
Settings full() {
    Settings settings;
    settings.agent = {.enabled = false,
                      .vsa_mode = 0,
                      .insert_circuit_id = true,
                      .insert_remote_id = false,
                      .circuit_id_cvlan = true,
                      .shelf = "s-1",
                      .circuit_id_format = "$SHELF \"x\" \\",
                      .remote_id_format = "",
                      .log_level = -1};
    settings.ports[2] = {.role = 3, .trust = 0, .remote_id = "caf\xC3\xA9\n", .circuit_id_mode = 2};
    settings.ports[40].role = 9;  // an operator's number without a word
    settings.vlans[0].enabled = true;
    settings.lines[{2, 100}] = {
        .circuit_id_mode = 1, .circuit_id_format = "c", .remote_id_format = "r"};
    return settings;
}

constexpr char full_text[] = R"([agent]
enabled = false
vsa_mode = "keep"
insert_circuit_id = true
insert_remote_id = false
circuit_id_cvlan = true
shelf = "s-1"
circuit_id_format = "$SHELF \"x\" \\"
remote_id_format = ""
log_level = -1

[[port]]
id = 2
role = "both"
trust = "trusted"
remote_id = { hex = "636166c3a90a" }
circuit_id_mode = "custom"

[[port]]
id = 40
role = 9

[[vlan]]
id = 0
enabled = true

[[port_vlan]]
port = 2
vlan = 100
circuit_id_mode = "atm"
circuit_id_format = "c"
remote_id_format = "r"
)";

TEST(SettingsText, Everything) {
    EXPECT_EQ(write_settings(full()), full_text);
    EXPECT_EQ(read_settings(full_text, "FILE"), full());
}

TEST(SettingsText, Nothing) {
    EXPECT_EQ(write_settings({}), "");
    EXPECT_EQ(read_settings("", "FILE"), Settings());
    EXPECT_EQ(read_settings("[[port]]\nid = 7\n", "FILE").ports.count(7), 1U);
}

struct Refused {
    const char *what;
    const char *text;
    const char *report;
};

TEST(SettingsText, Refused) {
    const Refused rows[] = {
        {"no TOML", "[agent\n",
         "FILE:1: Error while parsing table header: expected ']', saw '\\n'"},
        {"an unknown section", "[ports]\n",
         "FILE:1: unknown section \"ports\", expected \"agent\", \"port\", \"vlan\" or "
         "\"port_vlan\""},
        {"an unknown key, and a wrong kind", "[agent]\nenable = true\nshelf = 1\n",
         "FILE:2: [agent] unknown key \"enable\", expected \"enabled\"\n"
         "FILE:3: [agent] shelf is an integer, expected a text"},
        {"one section for a list", "[port]\nid = 1\n",
         "FILE:1: this is not a list of sections, expected [[port]]"},
        {"a port twice", "[[port]]\nid = 1\n[[port]]\nid = 1\n",
         "FILE:3: [[port]] is here a second time"},
        {"a line without its VLAN", "[[port_vlan]]\nport = 1\n",
         "FILE:1: [[port_vlan]] has no vlan, expected one"},
        {"no such word", "[[port]]\nid = 1\nrole = \"guest\"\n",
         "FILE:3: [[port]] role is \"guest\", expected \"disabled\", \"client\", \"server\" or "
         "\"both\""},
        {"a number out of range", "[[vlan]]\nid = 4096\n",
         "FILE:2: [[vlan]] id is 4096, expected 0 to 4095"},
        {"half a byte", "[agent]\nshelf = { hex = \"4\" }\n",
         "FILE:2: [agent] shelf is a table, expected a text or { hex = \"...\" } of at most 39 "
         "bytes, none of them 00"},
        {"a zero byte", "[agent]\nshelf = { hex = \"4100\" }\n",
         "FILE:2: [agent] shelf is a table, expected a text or { hex = \"...\" } of at most 39 "
         "bytes, none of them 00"},
    };
    for (const auto &[what, text, report] : rows) {
        try {
            read_settings(text, "FILE");
            ADD_FAILURE() << what << " is taken";
        } catch (const DescriptionError &error) {
            EXPECT_STREQ(error.what(), report) << what;
        }
    }
}

// A text at its longest fits, one more does not: plain and in digits.
TEST(SettingsText, Lengths) {
    const std::string longest(63, 'x');
    const auto port = [](const std::string &value) {
        return "[[port]]\nid = 1\nremote_id = " + value + "\n";
    };
    EXPECT_EQ(read_settings(port('"' + longest + '"'), "F").ports.at(1).remote_id, longest);
    EXPECT_THROW(read_settings(port('"' + longest + "x\""), "F"), DescriptionError);
    std::string digits;
    for (int i = 0; i < 63; ++i) digits += "ff";
    EXPECT_EQ(read_settings(port("{ hex = \"" + digits + "\" }"), "F").ports.at(1).remote_id,
              std::string(63, '\xFF'));
    EXPECT_THROW(read_settings(port("{ hex = \"" + digits + "ff\" }"), "F"), DescriptionError);
}

TEST(Settings, DifferenceOverlayAndWaiting) {
    Settings base;
    base.agent.enabled = true;
    base.agent.shelf = "a";
    base.ports[1] = {.role = 1, .trust = 1, .remote_id = "", .circuit_id_mode = 0};
    Settings now = base;
    now.agent.shelf = "b";
    now.ports[1].trust = 0;
    now.lines[{1, 5}].circuit_id_mode = 2;

    const Settings differing = difference(now, base);
    EXPECT_EQ(write_settings(differing),
              "[agent]\nshelf = \"b\"\n\n[[port]]\nid = 1\ntrust = "
              "\"trusted\"\n\n[[port_vlan]]\nport = 1\nvlan = 5\n"
              "circuit_id_mode = \"custom\"\n");
    EXPECT_EQ(overlay(base, differing), now);

    Settings wanted = differing;
    wanted.ports[9].role = 3;
    wanted.vlans[7].enabled = true;
    wanted.lines[{9, 1}].circuit_id_mode = 0;
    EXPECT_EQ(write_settings(waiting(wanted, now)),
              "[[port]]\nid = 9\nrole = \"both\"\n\n[[vlan]]\nid = 7\nenabled = true\n\n"
              "[[port_vlan]]\nport = 9\nvlan = 1\ncircuit_id_mode = \"default\"\n");
}

}  // namespace
