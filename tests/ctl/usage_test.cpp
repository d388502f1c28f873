// Command lines that are wrong, and ports by their names.
#include "ctl/usage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace ia::ctl;
using testing::ElementsAre;

std::string judged(const std::string &line) {
    return complaint(split_path(line), "the parser's words");
}

TEST(Usage, SaysWhatIsWrong) {
    const struct {
        const char *typed;
        const char *said;
    } rows[] = {
        {"", "a command is missing; 'pppoeiactl --help' lists them"},
        {"stat", "'stat' is not known here; did you mean 'stats'?"},
        {"stauts", "'stauts' is not known here; did you mean 'status'?"},
        {"xyzzy", "'xyzzy' is not known here; 'pppoeiactl --help' lists what is"},
        {"set cid-mod 1 atm", "'cid-mod' is not known here; did you mean 'cid-mode'?"},
        {"set xyzzy", "'xyzzy' is not known here; 'pppoeiactl set --help' lists what is"},
        {"format", "check or macros is missing behind 'format'"},
        {"show prots", "'prots' is not known here; did you mean 'ports'?"},
        {"set cid-mode",
         "PORT is missing (Port, by number, name or pattern); "
         "usage: set cid-mode PORT MODE"},
        {"set cid-mode --json 1",
         "MODE is missing (default, atm or custom); usage: set cid-mode PORT MODE"},
        {"set cid-mode --port 1",
         "MODE is missing (default, atm or custom); usage: set cid-mode PORT MODE"},
        {"set cid-mode 1 atm 7", "'7' is too much; usage: set cid-mode PORT MODE"},
        {"trace --prot 1",
         "there is no option '--prot' here; did you mean '--port'?; "
         "usage: trace [--port PORT] [--count COUNT] [--pcap PCAP]"},
        {"trace --count",
         "--count takes COUNT; usage: trace [--port PORT] [--count COUNT] [--pcap PCAP]"},
        {"set \x1b[31m 1", "'\\x1b[31m' is not known here; 'pppoeiactl set --help' lists what is"},
        {"status", "the parser's words; usage: status"},
    };
    for (const auto &row : rows) EXPECT_EQ(row.said, judged(row.typed)) << row.typed;
}

TEST(Usage, ValuesAndTheirLimits) {
    const std::string longest(128, 'x');
    const struct {
        const char *command;
        std::size_t argument;
        std::string value;
        const char *fault;
    } rows[] = {
        {"set cid-format", 0, longest, ""},
        {"set cid-format", 0, longest + 'x', "FORMAT has 129 bytes, at most 128"},
        {"set vlan-cid-format", 2, longest, "FORMAT has 128 bytes, at most 127"},
        {"set vlan-rid-format", 2, longest.substr(1), ""},
        {"set shelf", 0, std::string(40, 'x'), "SHELF has 40 bytes, at most 39"},
        {"set remote-id", 1, std::string(64, 'x'), "REMOTE-ID has 64 bytes, at most 63"},
        {"format check", 0, longest + 'x', ""},
        {"set vlan", 0, "4095", ""},
        {"set vlan", 0, "4096", "VLAN '4096': a number, 0 to 4095"},
        {"set vlan", 0, "4294967296", "VLAN '4294967296': a number, 0 to 4095"},
        {"set vlan", 0, "1x", "VLAN '1x': a number, 0 to 4095"},
        {"set log-level", 0, "-1", ""},
        {"set log-level", 0, "-2", "LEVEL '-2': a number, -1 to 7"},
        {"set role", 1, "clint",
         "ROLE 'clint': disabled, client, server or both; did you mean 'client'?"},
        {"set role", 1, "boss", "ROLE 'boss': disabled, client, server or both"},
    };
    for (const auto &row : rows) {
        const Found found = find_command(split_path(row.command));
        ASSERT_NE(nullptr, found.command) << row.command;
        EXPECT_EQ(row.fault, fault_of(found.command->arguments[row.argument], row.value))
            << row.command << ' ' << row.value;
    }
}

// Each setting of the table has its commands, which take what the table allows.
template <class Record>
void expect_commands() {
    ia::node::each_setting<Record>([](const auto &setting) {
        const std::string name(setting.command);
        const Found set = find_command(split_path("set " + name));
        const Found unset = find_command(split_path("unset " + name));
        ASSERT_TRUE(set.words == 2 && unset.words == 2) << name;
        EXPECT_NE(unset.command->run, set.command->run) << name;
        const Argument *value = nullptr;
        for (const Argument &argument : set.command->arguments)
            if (argument.name) value = &argument;
        EXPECT_EQ(value->high, value->kind == Kind::text     ? static_cast<int>(setting.longest)
                               : value->kind == Kind::number ? setting.most
                                                             : 0)
            << name;
        if (value->words.size() != setting.words.size()) {
            EXPECT_EQ(value->words.data(), on_off) << name;
            return;
        }
        for (std::size_t i = 0; i < value->words.size(); ++i)
            EXPECT_EQ(value->words[i].word, setting.words[i].first) << name;
    });
}

TEST(Usage, EachSettingHasItsCommands) {
    expect_commands<ia::node::AgentSettings>();
    expect_commands<ia::node::PortSettings>();
    expect_commands<ia::node::VlanSettings>();
}

TEST(Ports, ByNameAndPattern) {
    const std::vector<PortName> ports = {
        {1, "line-1"}, {2, "line-2"}, {3, "pon1/1/1"}, {4, "a[1]"}, {10, "uplink"}};
    const auto numbers = [&](const char *given) {
        std::vector<std::uint32_t> found;
        for (const PortName &port : find_ports(ports, given)) found.push_back(port.number);
        return found;
    };
    EXPECT_THAT(numbers("line-2"), ElementsAre(2));
    EXPECT_THAT(numbers("line-*"), ElementsAre(1, 2));
    EXPECT_THAT(numbers("*1"), ElementsAre(1, 3)) << "a / is like any other character";
    EXPECT_THAT(numbers("a[1]"), ElementsAre(4)) << "a name goes before a pattern";
    EXPECT_THAT(numbers("*"), ElementsAre(1, 2, 3, 4, 10));
    const auto refusal = [&](const char *given) -> std::string {
        try {
            find_ports(ports, given);
        } catch (const Refused &error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ("there is no port 'lime-1'; did you mean 'line-1'?", refusal("lime-1"));
    EXPECT_EQ("there is no port 'nowhere'; 'pppoeiactl show ports' lists them", refusal("nowhere"));
    EXPECT_EQ("no port has a name like 'x*'", refusal("x*"));
}

}  // namespace
