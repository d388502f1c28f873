// Settings as TOML: what is written, what is read, what is refused.
#include "node/settings/settings_text.h"

#include "tests/node/description/description_file.h"

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
    EXPECT_EQ(read_settings(full_text, "FILE").settings, full());
    EXPECT_EQ(count(full()), 18U);
}

TEST(SettingsText, Nothing) {
    EXPECT_EQ(write_settings({}), "");
    EXPECT_EQ(read_settings("", "FILE").settings, Settings());
    EXPECT_EQ(read_settings("[[port]]\nid = 7\n", "FILE").settings, Settings());
}

struct Refused {
    const char *what;
    std::string text;
    std::string report;
};

// Each costs itself and no other line.
TEST(SettingsText, Refused) {
    const Refused rows[] = {
        {"no TOML", "[agent]\nshelf = \n",
         "FILE:2: Error while parsing key-value pair: encountered end-of-file"},
        {"an unknown section", "[ports]\nrole = 7 7\n",
         "FILE:1: unknown section \"[ports]\", expected \"[agent]\", \"[[port]]\", \"[[vlan]]\" or "
         "\"[[port_vlan]]\""},
        {"an unknown key, and a wrong kind", "[agent]\nenable = true\nshelf = 1\n",
         "FILE:2: [agent] unknown key \"enable\", expected \"enabled\"\n"
         "FILE:3: [agent] shelf is an integer, expected a text"},
        {"before any section", "shelf = \"x\"\n", "FILE:1: \"shelf\" stands before any section"},
        {"a port twice", "[[port]]\nid = 1\nrole = 1\n[[port]]\nid = 1\nrole = 2\n",
         "FILE:4: [[port]] is here a second time"},
        {"a key twice", "[[port]]\nid = 1\nrole = 1\nrole = 2\n",
         "FILE:4: [[port]] role is here a second time"},
        {"a line without its VLAN", "[[port_vlan]]\nport = 1\ncircuit_id_mode = \"atm\"\n",
         "FILE:1: [[port_vlan]] has no vlan, expected one"},
        {"a VLAN out of range", "[[port_vlan]]\nport = 1\nvlan = 4096\ncircuit_id_mode = 2\n",
         "FILE:3: [[port_vlan]] vlan is 4096, expected 0 to 4095"},
        {"no such word", "[[port]]\nid = 1\nrole = \"guest\"\n",
         "FILE:3: [[port]] role is \"guest\", expected \"disabled\", \"client\", \"server\" or "
         "\"both\""},
        {"half a byte", "[agent]\nshelf = { hex = \"4\" }\n",
         "FILE:2: [agent] shelf is a table, expected a text or { hex = \"...\" } of at most 39 "
         "bytes, none of them 00"},
        {"a zero byte", "[agent]\nshelf = { hex = \"4100\" }\n",
         "FILE:2: [agent] shelf is a table, expected a text or { hex = \"...\" } of at most 39 "
         "bytes, none of them 00"},
        {"a key of nine parts", "[agent]\na.b.c.d.e.f.g.h.i = 1\n",
         "FILE:2: keys, arrays or tables are within each other more than 8 deep"},
        {"a long line", "[agent]\nshelf = \"" + std::string(5000, 'x') + "\"\n",
         "FILE:2: this line has 5010 bytes, expected at most 4096"},
    };
    for (const auto &[what, text, report] : rows) {
        const ReadSettings bad = read_settings(text, "FILE");
        EXPECT_EQ(bad.problems, report) << what;
        const ReadSettings both = read_settings(text + "[[port]]\nid = 9\nrole = 1\n", "FILE");
        EXPECT_EQ(both.problems, bad.problems) << what;
        EXPECT_EQ(both.settings.ports.at(9).role, 1U) << what;
    }
}

// A text at its longest fits, one more does not: plain and in digits.
TEST(SettingsText, Lengths) {
    const std::string longest(63, 'x');
    const auto remote_id = [](const std::string &value) {
        return read_settings("[[port]]\nid = 1\nremote_id = " + value + "\n", "F")
            .settings.ports[1]
            .remote_id;
    };
    EXPECT_EQ(remote_id('"' + longest + '"'), longest);
    EXPECT_EQ(remote_id('"' + longest + "x\""), std::nullopt);
    std::string digits;
    for (int i = 0; i < 63; ++i) digits += "ff";
    EXPECT_EQ(remote_id("{ hex = \"" + digits + "\" }"), std::string(63, '\xFF'));
    EXPECT_EQ(remote_id("{ hex = \"" + digits + "ff\" }"), std::nullopt);
}

// A call of the agent's own program may set what no file can hold.
TEST(SettingsText, OnlyWhatIsReadAgainIsWritten) {
    Settings settings = full();
    EXPECT_EQ(keepable(settings).left_out, "");
    EXPECT_EQ(keepable(settings).text, full_text);
    settings.lines[{2, 5000}] = {
        .circuit_id_mode = 2, .circuit_id_format = "f", .remote_id_format = {}};
    const Keepable kept = keepable(settings);
    EXPECT_EQ(kept.text, full_text);
    EXPECT_EQ(kept.settings, full());
    EXPECT_EQ(kept.left_out,
              "2 settings in force cannot be kept in a file: settings:36: [[port_vlan]] vlan is "
              "5000, expected 0 to 4095");
}

// More than a description may hold, 16 MiB.
TEST(SettingsText, AFileOfAnySize) {
    std::string text(17U << 20, '\n');
    text += "[agent]\nenabled = true\n";
    const DescriptionFile file(text);
    EXPECT_EQ(read_settings_file(file.path()).settings.agent.enabled, true);
}

TEST(Settings, DifferencesAreOfRecords) {
    Settings saved, now;
    saved.ports[2] = {.role = 1, .trust = 1, .remote_id = "room = 7 = x", .circuit_id_mode = {}};
    now.ports[2] = {.role = 1, .trust = 0, .remote_id = "a\nb", .circuit_id_mode = {}};
    now.vlans[7].enabled = true;
    EXPECT_EQ(difference_text(saved, now),
              "[[port]] id = 2\n- trust = \"untrusted\"\n- remote_id = \"room = 7 = x\"\n"
              "+ trust = \"trusted\"\n+ remote_id = { hex = \"610a62\" }\n"
              "[[vlan]] id = 7\n+ enabled = true\n");
    EXPECT_EQ(difference_text(now, now), "");
    EXPECT_EQ(count(saved), 3U);
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
