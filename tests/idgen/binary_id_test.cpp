// Turning an ID's text into bytes.
#include "idgen/assembly.h"
#include "tests/idgen/scenario.h"

using namespace ia::test;

namespace {

struct binary_row {
    const char *name;
    std::string text;
    std::map<unsigned long, unsigned> runs;
    const char *bytes;
    bool done = true;
};

const binary_row binary_rows[] = {
    {"nothing", "", {}, ""},
    {"text alone", "AB", {}, "41 42"},
    {"a run alone", "0102", {{0, 4}}, "01 02"},
    {"text, then a run", "A64", {{1, 2}}, "41 64"},
    {"a run, then text", "64A", {{0, 2}}, "64 41"},
    {"two runs side by side", "01FF", {{0, 2}, {2, 2}}, "01 FF"},
    {"digits outside a run are text", "0164", {{2, 2}}, "30 31 64"},
    {"lower-case digits", "ab", {{0, 2}}, "AB"},
    {"an empty run", "64", {{0, 0}}, "36 34"},
    {"an empty run at the end", "A", {{1, 0}}, "41"},
    {"an odd run takes one more", "1234", {{0, 3}}, "12 34"},
    {"an odd run at the end", "A123", {{1, 3}}, "41 12", false},
    {"a run past the end", "0102", {{0, 6}}, "01 02", false},
    {"a run far past the end", "0102", {{0, 0xFFFFFFFF}}, "01 02", false},
    {"a run that starts past the end", "A", {{5, 2}}, "41"},
    {"a run inside another is not looked at", "0102", {{0, 4}, {2, 2}}, "01 02"},
    {"a run that starts within a byte", "0102", {{0, 2}, {1, 2}}, "01 30 32"},
    {"no digits count as 0", "x1g2", {{0, 4}}, "00 00"},
    {"one digit counts", "1x", {{0, 2}}, "01"},
    {"a high byte is itself", "\xE9", {}, "E9"},
};

TEST(BinaryId, IsAsTabled) {
    for (const binary_row &row : binary_rows) {
        SCOPED_TRACE(row.name);
        std::vector<std::uint8_t> bytes;
        EXPECT_EQ(idStringToBinaryVector(row.text, row.runs, bytes), row.done);
        EXPECT_EQ(hex_dump(bytes), row.bytes);
    }
}

}  // namespace
