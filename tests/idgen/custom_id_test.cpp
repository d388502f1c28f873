// Whole custom IDs, from format to text or bytes.
#include "diag/test_data.h"
#include "idgen/assembly.h"
#include "idgen/id_memory.h"
#include "idgen/selection.h"
#include "tests/idgen/custom_id_rows.h"
#include "tests/idgen/scenario.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>

using namespace ia::test;

namespace {

class CustomId : public IdTest {
protected:
    CustomId() {
        fill(bridge_);
        receive_frame(bridge_, 100, 5);
        bridge_.revision = 1;
    }

    std::string make(const std::string &format, std::uint32_t port = GEM, std::uint16_t vid = 100,
                     idGenType gen = ID_GEN_FRAME) {
        clear_syslog();
        binary_.clear();
        std::string id = "left over";
        EXPECT_TRUE(genCustomId(&bridge_, port, vid, 5, format, id, binary_, gen));
        return id;
    }

    // The frame path's plan, made anew, run again, and folded for the line, gives what
    // the rule gave.
    void expect_planned(const std::string &format, const std::string &id, std::uint32_t port,
                        std::uint16_t vid) {
        ia::IdMemory memory;
        ia::LineSlot line;
        const ia::subscriber who = ia::subscriber_of(bridge_, port, vid, 5, ID_GEN_FRAME);
        const ia::FormatPlan *plan = ia::plan_of(memory, format.c_str());
        begin_line(line, who, plan);
        for (const ia::FormatPlan *run : {plan, plan, folded_plan(*current_line(line, who), who)}) {
            char out[64];
            std::vector<std::uint8_t> planned;
            ia::run_plan(run, who, out, planned);
            EXPECT_EQ(out, id.substr(0, 63)) << format;
            EXPECT_EQ(planned, binary_) << format;
        }
    }

    pppoeia_bridge bridge_{"br0", 13};
    std::vector<std::uint8_t> binary_;
};

TEST_F(CustomId, IsAsTabled) {
    for (const id_row &row : custom_id_rows()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(make(row.format, row.port, row.vid, row.gen), row.text);
        EXPECT_EQ(hex_dump(binary_), row.bytes);
        EXPECT_TRUE(was_traced(row.trace));
        EXPECT_TRUE(was_traced("<br0> >> genCustomId"));
        if (row.gen == ID_GEN_FRAME) expect_planned(row.format, row.text, row.port, row.vid);
    }
}

// Whatever else of a line is kept from frame to frame.
TEST_F(CustomId, AsksThePlatformForEachFrame) {
    const LogLevel quiet(6);
    bridge_.ports[DSL - 1].vsa_circuit_id_mode = PPPOEIA_CID_CUSTOM;
    std::strcpy(bridge_.cid_format, "$AGENT_BOARD $AGENT_IPV4 $AGENT_IPV6 $AGENT_MAC $PORT");
    const auto frame = [this] {
        char out[64] = "";
        pppoeia_build_circuit_id(out, &bridge_, &bridge_.ports[DSL - 1], 100, binary_,
                                 ID_GEN_FRAME);
        return std::string(out);
    };
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(frame(), "3 10.1.2.3 2001:DB8::1 0A:0B:0C:0D:0E:0F 12345");
    node().board = 4;
    node().ipv4 = {{10, 9, 8, 7}};
    node().ipv6 = "::2";
    node().management_mac = Bytes(6, 2);
    EXPECT_EQ(frame(), "4 10.9.8.7 ::2 02:02:02:02:02:02 12345");
}

TEST_F(CustomId, OfTextIsCutAt63Characters) {
    EXPECT_EQ(make(std::string(63, 'x')), std::string(63, 'x'));
    for (const std::string &line : traces()) EXPECT_EQ(line.find("Cutting"), std::string::npos);
    EXPECT_EQ(make(std::string(64, 'x')), std::string(63, 'x'));
    EXPECT_TRUE(was_traced("<br0> >> Cutting CHAR string from 64 to 63 chars"));
}

TEST_F(CustomId, OfBytesIsCutAt63BytesAndItsTextIsNot) {
    EXPECT_EQ(make(std::string(62, 'x') + "$hVLAN"), std::string(62, 'x') + "64");
    EXPECT_EQ(binary_.size(), 63U);
    EXPECT_EQ(binary_.back(), 0x64);
    EXPECT_EQ(make(std::string(63, 'x') + "$hVLAN"), std::string(63, 'x') + "64");
    EXPECT_EQ(binary_, std::vector<std::uint8_t>(63, 'x'));
    EXPECT_TRUE(was_traced("<br0> >> Cutting BIN string from 64 to 63 bytes"));
}

// The platform's IPv6 text is not checked: a group of five digits makes a run of
// 33 characters, whose last byte lacks a digit.
TEST_F(CustomId, KeepsTheBytesBeforeAHalfOne) {
    node().ipv6 = "1:2:3:4:5:6:7:12345";
    EXPECT_EQ(make("$hAGENT_IPV6"),
              "0001000200030004000500060007"
              "12345");
    EXPECT_EQ(hex_dump(binary_), "00 01 00 02 00 03 00 04 00 05 00 06 00 07 12 34");
    EXPECT_TRUE(was_traced("<br0> >> idStringToBinaryVector failed!"));
}

// A format comes from an operator: its cost must not grow with its square.
TEST_F(CustomId, CostsNoMoreThanItsLength) {
    const auto repeated = [](const char *text, std::size_t count) {
        std::string all;
        while (count-- > 0) all += text;
        return all;
    };
    const auto cost = [this](const std::string &format) {
        std::clock_t least = std::numeric_limits<std::clock_t>::max();
        for (int round = 0; round < 3; ++round) {
            const std::clock_t start = std::clock();  // of the processor, not of the wall
            make(format);
            least = std::min(least, std::clock() - start);
        }
        return least;
    };
    struct pattern {
        const char *before, *text, *after;
    };
    const pattern formats[] = {
        {"", "$", ""},      {"", "$", "PORT"}, {"", "$PORT", ""},      {"", "$hVLAN", ""},
        {"", "$TCONT", ""}, {"", "PORT", ""},  {"", "$100PORT", ""},   {"$", "9", "PORT"},
        {"", "AGENT_", ""}, {"$", "F", "HEX"}, {"", "$$$PVC_INT", ""}, {"", "x", "$PORT"},
    };
    const LogLevel quiet(6);
    for (const pattern &format : formats) {
        const auto of_length = [&](std::size_t count) {
            return cost(format.before + repeated(format.text, count) + format.after);
        };
        const std::clock_t slack = CLOCKS_PER_SEC / 100;
        EXPECT_LT(of_length(8000), 8 * 3 * of_length(1000) + slack) << format.text;
    }
}

TEST_F(CustomId, ExpandsWhateverBytesThereAre) {
    std::uint32_t state = 1;
    const auto choose = [&state](std::size_t count) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % count;
    };
    const LogLevel quiet(6);
    std::vector<std::string> pieces = {"$", "$", "$", "h", "z", "s", "d", "9", "$h", "\xFF", "12"};
    for (const ia::MacroRule &rule : ia::macro_rules()) pieces.emplace_back(rule.name);
    for (int round = 0; round < 20000; ++round) {
        std::string format;
        for (int piece = 0; piece < 12; ++piece) format += pieces[choose(pieces.size())];
        const auto port = static_cast<std::uint32_t>(choose(LAST_SLOT + 1));
        const std::uint16_t vid = choose(2) ? 100 : 0x0FFF;
        const std::string id = make(format, port, vid);
        EXPECT_LE(binary_.size(), 63U);
        EXPECT_TRUE(!binary_.empty() || id.size() <= 63) << id;
        expect_planned(format, id, port, vid);
    }
    make(std::string("$PORT\0$VLAN", 11));
}

}  // namespace
