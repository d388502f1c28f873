// What is said against a bad description: place, fault, expectation.
#include "tests/node/description/description_file.h"

#include <gtest/gtest.h>

namespace {

struct Refusal {
    const char *name;
    std::string text;
    std::string problems;
};

void PrintTo(const Refusal &row, std::ostream *out) {
    *out << row.name;
}

class Refusals : public testing::TestWithParam<Refusal> {};

TEST_P(Refusals, name_place_and_expectation) {
    EXPECT_EQ(DescriptionFile(GetParam().text).problems(), GetParam().problems);
}

// A good start of two lines, so that what is wrong begins on line 3.
const std::string bridge = "[[bridge]]\nname = 'br0'\n";

// An interface of five lines; `more` begins on its sixth.
std::string interface(const char *id, const char *type, const std::string &more = "") {
    return std::string("[[interface]]\nid = ") + id + "\nname = '1/" + id + "'\ntype = '" + type +
           "'\ndevice = 'dev" + id + "'\n" + more;
}

std::string repeated(int times, const std::string &text) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

std::string deep(int line) {
    return "FILE:" + std::to_string(line) +
           ": keys, arrays or tables are within each other more than 8 deep";
}

const Refusal file_rows[] = {
    {"empty", "", "FILE:1: no [[bridge]], expected at least one"},
    {"not_toml", bridge + "name = \n",
     "FILE:3: Error while parsing key-value pair: expected value, saw '\\n'"},
    {"unknown_section", bridge + "[[interfaces]]\nid = 1\n",
     "FILE:3: unknown key \"interfaces\", expected \"interface\""},
    {"a_key_of_many_parts", bridge + "a" + repeated(120'000, ".a") + " = 1\n", deep(3)},
    {"many_parts_in_quotes", bridge + "a.'b'.\"\\\"\" . c.d.e.f.g.h.i = 1\n", deep(3)},
    {"a_header_of_many_parts", bridge + "[a" + repeated(60'000, ".a") + "]\n", deep(3)},
    {"arrays_within_arrays", bridge + "x = " + repeated(100'000, "[") + "\n", deep(3)},
    {"tables_behind_a_text_of_lines",
     bridge + "x = ['''[\n''''', " + repeated(9, "{a=") + "1" + repeated(9, "}") + "]", deep(4)},
    {"no_keys_in_texts_and_remarks",
     bridge + "x = '" + repeated(99, ".[") + "' # a.b.c.d.e.f.g.h.i\n",
     "FILE:3: [[bridge]] unknown key \"x\", expected \"name\", \"device\", \"ports\", "
     "\"stag_ethertype\", \"max_pdu\", \"line_rate\", \"line_burst\", \"line_silence\", "
     "\"port_rate\", \"port_burst\", \"new_addresses\", \"address_life\", \"engine_rate\", "
     "\"checks\", \"servers\", \"servers_first\", "
     "\"enabled\", \"vsa_mode\", \"insert_circuit_id\", "
     "\"insert_remote_id\", \"circuit_id_cvlan\", \"circuit_id_format\", \"remote_id_format\" or "
     "\"log_level\""},
    {"a_second_bridge", bridge + "[[bridge]]\nname = 'lan'\n",
     "FILE:3: this is a second [[bridge]], expected one: the agent manages exactly one bridge"},
    {"a_bridge_of_another_name", "[[bridge]]\nname = 'lan'\n",
     "FILE:2: [[bridge]] name is \"lan\", expected \"br0\", the one bridge that the agent manages; "
     "for a Linux bridge of that name write device = \"lan\""},
    {"single_brackets", "[bridge]\nname = 'br0'\n",
     "FILE:1: bridge is not a list of sections, expected [[bridge]]\n"
     "FILE:1: no [[bridge]], expected at least one"},
    {"list_of_numbers", "vlan = [1, 2]\n" + bridge,
     "FILE:1: vlan is not a list of sections, expected [[vlan]]"},
    {"node_is_a_number", "node = 1\n" + bridge, "FILE:1: node is not a section, expected [node]"},
    {"all_problems_at_once", "[node]\nbord = 1\nboard = 256\n" + bridge + "[[vlan]]\nid = 4096\n",
     "FILE:2: [node] unknown key \"bord\", expected \"board\"\n"
     "FILE:3: [node] board is 256, expected 0 to 255\n"
     "FILE:7: [[vlan]] id is 4096, expected 0 to 4095"},
};

const Refusal value_rows[] = {
    {"unknown_key_far_from_any", bridge + "[[vlan]]\nid = 1\ncolour = 'red'\n",
     "FILE:5: [[vlan]] unknown key \"colour\", expected \"id\", \"name\", \"bridge\" or "
     "\"enabled\""},
    {"number_for_a_text", "[node]\nname = 5\n" + bridge,
     "FILE:2: [node] name is an integer, expected a text"},
    {"text_for_a_number", bridge + "ports = '16'\n",
     "FILE:3: [[bridge]] ports is a text, expected an integer, 2 to 65536"},
    {"a_server_without_an_address", bridge + "servers = ['02:00:00:00:99:01', 'x']\n",
     "FILE:3: [[bridge]] servers is \"x\", expected 00:1A:2B:3C:4D:5E"},
    {"fraction_for_a_number", bridge + "max_pdu = 1500.0\n",
     "FILE:3: [[bridge]] max_pdu is a fraction, expected an integer, 64 to 65535"},
    {"number_for_a_flag", bridge + "enabled = 1\n",
     "FILE:3: [[bridge]] enabled is an integer, expected true or false"},
    {"one_port_record", bridge + "ports = 1\n",
     "FILE:3: [[bridge]] ports is 1, expected 2 to 65536"},
    {"too_many_port_records", bridge + "ports = 65537\n",
     "FILE:3: [[bridge]] ports is 65537, expected 2 to 65536"},
    {"negative_vlan", bridge + "[[vlan]]\nid = -1\n",
     "FILE:4: [[vlan]] id is -1, expected 0 to 4095"},
    {"bad_role", bridge + interface("1", "eth", "role = 'Client'\n"),
     "FILE:8: [[interface]] role is \"Client\", expected \"disabled\", \"client\", \"server\" or "
     "\"both\""},
    {"bad_trust", bridge + interface("1", "eth", "trust = true\n"),
     "FILE:8: [[interface]] trust is true or false, expected \"trusted\" or \"untrusted\""},
    {"number_for_a_word", bridge + "vsa_mode = 1\n",
     "FILE:3: [[bridge]] vsa_mode is an integer, expected \"keep\" or \"remove\""},
    {"log_level_without_a_meaning", bridge + "log_level = 8\n",
     "FILE:3: [[bridge]] log_level is 8, expected -1 to 7"},
    {"line_without_a_vlan", bridge + "[[port_vlan]]\nport = 1\nremote_id_fromat = 'x'\n",
     "FILE:3: [[port_vlan]] has no vlan, expected one\n"
     "FILE:5: [[port_vlan]] unknown key \"remote_id_fromat\", expected \"remote_id_format\""},
    {"escape_in_a_text", "[node]\ncontact = \"a\\u001Bb\"\n" + bridge,
     "FILE:2: [node] contact \"a\\x1Bb\" has control characters, expected none"},
    {"slash_in_a_device", "[node]\nmanagement = 'eth/0'\n" + bridge,
     "FILE:2: [node] management \"eth/0\" cannot name a device, expected no '/', ':' or space"},
    {"settings_file_is_no_path", "[settings]\nfile = 'settings.toml'\n" + bridge,
     "FILE:2: [settings] file is \"settings.toml\", expected a file's path that begins with /"},
    {"metrics_for_no_collector", "[metrics]\ntextfile = '/run/metrics'\ninterval = 0\n" + bridge,
     "FILE:2: [metrics] textfile is \"/run/metrics\", expected a file's name that ends in .prom\n"
     "FILE:3: [metrics] interval is 0, expected 1 to 3600"},
    {"nothing_required_given", bridge + "[[interface]]\n[[vlan]]\n",
     "FILE:3: [[interface]] has no id, expected one\n"
     "FILE:3: [[interface]] has no name, expected one\n"
     "FILE:3: [[interface]] has no type, expected one\n"
     "FILE:3: [[interface]] has no device, expected one\n"
     "FILE:4: [[vlan]] has no id, expected one"},
    {"bridge_without_a_name", "[[bridge]]\nports = 16\n[[vlan]]\nid = 1\n",
     "FILE:1: [[bridge]] has no name, expected one"},
    {"empty_device", bridge + "[[interface]]\nid = 1\nname = '1'\ntype = 'eth'\ndevice = ''\n",
     "FILE:7: [[interface]] device is empty, expected a text"},
};

// One byte more than the field holds. `place`: its line and section.
Refusal too_long(const char *name, const std::string &before, const std::string &place,
                 const std::string &key, std::size_t size) {
    const std::string shown = size > 60 ? std::string(60, 'x') + "..." : std::string(size, 'x');
    return {name, before + key + " = '" + std::string(size, 'x') + "'\n",
            "FILE:" + place + ' ' + key + " \"" + shown + "\" has " + std::to_string(size) +
                " characters, expected at most " + std::to_string(size - 1)};
}

const std::string port = bridge + interface("1", "eth");
const std::string half_port = bridge + "[[interface]]\nid = 1\ntype = 'eth'\n";

const Refusal length_rows[] = {
    too_long("bridge_name", "[[bridge]]\n", "2: [[bridge]]", "name", 11),
    too_long("interface_name", half_port + "device = 'a'\n", "7: [[interface]]", "name", 15),
    too_long("device", half_port + "name = 'a'\n", "7: [[interface]]", "device", 16),
    too_long("panel", port, "8: [[interface]]", "panel", 8),
    too_long("vlan_name", bridge + "[[vlan]]\nid = 1\n", "5: [[vlan]]", "name", 32),
    too_long("shelf", bridge + "[node]\n", "4: [node]", "shelf", 40),
    too_long("description", port, "8: [[interface]]", "description", 65),
    too_long("format_of_a_line", port + "[[port_vlan]]\nport = 1\nvlan = 0\n", "11: [[port_vlan]]",
             "remote_id_format", 128),
    too_long("remote_id", port, "8: [[interface]]", "remote_id", 64),
};

const Refusal cross_rows[] = {
    {"id_twice",
     bridge + interface("1", "eth") +
         "[[interface]]\nid = 1\nname = 'b'\ntype = 'eth'\n"
         "device = 'b'\n",
     "FILE:9: interface id 1 is already used on line 4, expected each once"},
    {"name_and_device_twice",
     bridge + interface("1", "eth") +
         "[[interface]]\nid = 2\nname = '1/1'\ntype = 'eth'\ndevice = 'dev1'\n",
     "FILE:10: interface name \"1/1\" is already used on line 5, expected each once\n"
     "FILE:12: device \"dev1\" is already used on line 7, expected each once"},
    {"vlan_twice", bridge + "[[vlan]]\nid = 7\n[[vlan]]\nid = 7\nbridge = 'br0'\n",
     "FILE:6: VLAN 7 of bridge \"br0\" is already used on line 4, expected each once"},
    {"id_past_the_ports", bridge + "ports = 16\n" + interface("16", "eth"),
     "FILE:5: interface id 16 is past the ports of bridge \"br0\", expected 1 to 15"},
    {"no_such_bridge", bridge + interface("1", "eth", "bridge = 'br7'\n"),
     "FILE:8: there is no bridge \"br7\", expected the name of a [[bridge]]"},
    {"no_such_parent", bridge + interface("1", "onu", "parent = 2\n"),
     "FILE:8: parent 2 of \"onu\" does not exist, expected the id of \"olt\""},
    {"atm_on_olt", bridge + interface("1", "olt") + interface("2", "atm", "parent = 1\n"),
     "FILE:13: parent 1 of \"atm\" is \"olt\", expected \"dsl\""},
    {"gem_on_olt", bridge + interface("1", "olt") + interface("2", "gem", "parent = 1\n"),
     "FILE:13: parent 1 of \"gem\" is \"olt\", expected \"onu\""},
    {"onu_on_itself", bridge + interface("1", "onu", "parent = 1\n"),
     "FILE:8: parent 1 of \"onu\" is \"onu\", expected \"olt\""},
    {"parent_of_eth", bridge + interface("1", "olt") + interface("2", "eth", "parent = 1\n"),
     "FILE:13: parent 1 of \"eth\", expected no parent for this type"},
    {"pvc_on_eth", bridge + interface("1", "access", "vpi = 8\nvci = 35\n"),
     "FILE:8: vpi on \"access\", expected only on \"atm\"\n"
     "FILE:9: vci on \"access\", expected only on \"atm\""},
    {"onu_number_on_olt", bridge + interface("1", "olt", "onu = 3\n"),
     "FILE:8: onu on \"olt\", expected only on \"onu\" or \"gem\""},
    {"vpi_alone", bridge + interface("1", "atm", "vpi = 8\n"),
     "FILE:8: vpi without vci, expected both or neither"},
    {"vci_alone", bridge + interface("1", "atm", "vci = 35\n"),
     "FILE:8: vci without vpi, expected both or neither"},
    {"serial_with_a_zero_byte", bridge + interface("1", "onu", "serial = '410043441234ABCD'\n"),
     "FILE:8: [[interface]] serial \"410043441234ABCD\" has 00 for a letter of the vendor, "
     "expected "
     "four letters in hexadecimal"},
    {"lines_twice_and_of_no_port",
     bridge + interface("1", "eth") + "[[vlan]]\nid = 7\n" +
         "[[port_vlan]]\nport = 1\nvlan = 7\n[[port_vlan]]\nvlan = 7\nport = 1\n"
         "[[port_vlan]]\nport = 2\nvlan = 7\n",
     "FILE:15: [[port_vlan]] port 1, VLAN 7 is already used on line 11, expected each once\n"
     "FILE:17: there is no port 2, expected the id of an [[interface]]"},
    {"atm_form_on_eth", bridge + interface("1", "eth", "circuit_id_mode = 'atm'\n"),
     "FILE:8: circuit_id_mode \"atm\" on \"eth\", expected only on \"atm\""},
    {"mac_alone", bridge + interface("1", "onu", "mac = '00:1A:2B:3C:4D:5E'\n"),
     "FILE:8: mac without serial, expected a serial beside it"},
};

// One mistake is said once, not again by all that refers to it.
const Refusal echo_rows[] = {
    {"children_of_a_refused_id",
     bridge + interface("0", "olt") + interface("2", "onu", "parent = 9\n"),
     "FILE:4: [[interface]] id is 0, expected 1 to 65535"},
    {"children_of_a_refused_type",
     bridge + interface("1", "pon") + interface("2", "onu", "parent = 1\n"),
     "FILE:6: [[interface]] type is \"pon\", expected \"eth\", \"dsl\", \"atm\", \"olt\", \"onu\", "
     "\"gem\", \"mng\", \"lag\" or \"access\""},
    {"members_of_a_refused_bridge",
     "[[bridge]]\nname = 'bridge-number-0'\n" + interface("1", "eth", "bridge = 'bridge-num'\n"),
     "FILE:2: [[bridge]] name \"bridge-number-0\" has 15 characters, expected at most 10"},
};

std::string row_name(const testing::TestParamInfo<Refusal> &info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(File, Refusals, testing::ValuesIn(file_rows), row_name);
INSTANTIATE_TEST_SUITE_P(Value, Refusals, testing::ValuesIn(value_rows), row_name);
INSTANTIATE_TEST_SUITE_P(Length, Refusals, testing::ValuesIn(length_rows), row_name);
INSTANTIATE_TEST_SUITE_P(Between, Refusals, testing::ValuesIn(cross_rows), row_name);
INSTANTIATE_TEST_SUITE_P(Echo, Refusals, testing::ValuesIn(echo_rows), row_name);

TEST(Refusal, missing_file) {
    try {
        ia::node::read_description("/nowhere/node.toml");
        FAIL();
    } catch (const ia::node::DescriptionError &error) {
        EXPECT_STREQ(error.what(),
                     "/nowhere/node.toml: cannot be opened: No such file or directory");
    }
}

// A sparse file: one byte past the limit of 16 MiB.
TEST(Refusal, file_too_large) {
    const DescriptionFile file("");
    ASSERT_EQ(truncate(file.path().c_str(), (16 << 20) + 1), 0);
    EXPECT_EQ(file.problems(), "FILE: is too large, expected at most 16 MiB");
}

}  // namespace
