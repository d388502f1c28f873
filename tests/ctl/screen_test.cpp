// Tables within a terminal's width, and texts from outside.
#include "ctl/screen.h"

#include <gtest/gtest.h>

namespace {

using namespace ia::ctl;

const std::vector<Column> columns = {{"NAME", "name"},
                                     {"PORT", "port", true},
                                     {"DEVICE", "device", false, 1},
                                     {"NOTE", "note", false, 2},
                                     {"CIRCUIT ID", "id"}};
const Json two_ports = {{{"name", "1/1"},
                         {"port", 7},
                         {"device", "device-0001"},
                         {"note", "a longer note"},
                         {"id", "shelf eth 1/1:100"}},
                        {{"name", "1/2"},
                         {"port", 12},
                         {"device", nullptr},
                         {"note", ""},
                         {"id", "shelf eth 1/2:100"}}};

TEST(Screen, TheLeastUsefulColumnGivesWay) {
    const struct {
        const char *name;
        std::size_t width;
        const char *drawn;
    } widths[] = {
        {"all fits", 80,
         "NAME  PORT  DEVICE       NOTE           CIRCUIT ID\n"
         "1/1      7  device-0001  a longer note  shelf eth 1/1:100\n"
         "1/2     12  -            -              shelf eth 1/2:100\n"},
        {"one less", 56,
         "NAME  PORT  DEVICE      NOTE           CIRCUIT ID\n"
         "1/1      7  device-...  a longer note  shelf eth 1/1:100\n"
         "1/2     12  -           -              shelf eth 1/2:100\n"},
        {"the second too", 50,
         "NAME  PORT  DEVICE    NOTE       CIRCUIT ID\n"
         "1/1      7  devic...  a long...  shelf eth 1/1:100\n"
         "1/2     12  -         -          shelf eth 1/2:100\n"},
        {"one is left out", 45,
         "NAME  PORT  NOTE      CIRCUIT ID\n"
         "1/1      7  a lon...  shelf eth 1/1:100\n"
         "1/2     12  -         shelf eth 1/2:100\n"},
        {"IDs are never cut", 10,
         "NAME  PORT  CIRCUIT ID\n"
         "1/1      7  shelf eth 1/1:100\n"
         "1/2     12  shelf eth 1/2:100\n"},
    };
    for (const auto &row : widths)
        EXPECT_EQ(row.drawn, table(columns, two_ports, row.width)) << row.name;
}

TEST(Screen, TextsFromOutsideCannotActOnATerminal) {
    const struct {
        const char *name;
        std::string text;
        std::string shown;
    } texts[] = {
        {"plain", "line 1: $VLAN\\", "line 1: $VLAN\\"},
        {"colour", "\x1b[31mred", "\\x1b[31mred"},
        {"bell, line ends, delete", "\a\n\r\t\x7f", "\\x07\\n\\r\\t\\x7f"},
        {"UTF-8", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
         "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"},
        {"control sequence of 8 bits",
         "\x9b"
         "31m",
         "\\x9b31m"},
        {"the same as UTF-8",
         "\xc2\x9b"
         "31m",
         "\\xc2\\x9b31m"},
        {"Latin-1", "caf\xe9", "caf\\xe9"},
        {"cut off", "\xe2\x82", "\\xe2\\x82"},
        {"overlong", "\xe0\x80\x8a", "\\xe0\\x80\\x8a"},
        {"turned",
         "a\xe2\x80\xae"
         "b",
         "a\\xe2\\x80\\xaeb"},
    };
    for (const auto &row : texts) EXPECT_EQ(row.shown, printable(row.text)) << row.name;
    EXPECT_EQ("a\tb\n\\x1bc\n", printable_lines("a\tb\n\x1b"
                                                "c\n"));
}

}  // namespace
