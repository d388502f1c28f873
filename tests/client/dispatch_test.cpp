// Requests that the engine's side refuses, each with one warning that says why.
#include "client/dispatch/dispatch.h"

#include "node/ippc/message.h"
#include "pppoeia/pppoeia.h"
#include "tests/client/operation_rows.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/scripted_node.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace ia::test;

namespace {

struct Malformed {
    const char *what;
    Bytes message;
    const char *warning;
};

const std::vector<Malformed> malformed = {
    {"an unused id", request(3, {text("br0")}), "function 3: there is none"},
    {"an id past the last", request(200, {}), "function 200: there is none"},
    {"an id before the node's own", request(999, {}), "function 999: there is none"},
    {"an id past the node's own", request(2000, {}), "function 2000: there is none"},
    {"a node operation cut short", request(1000, {text("br0")}),
     "function 1000: 1 parameters instead of 2"},
    {"too few parameters", request(15, {text("br0")}), "function 15: 1 parameters instead of 2"},
    {"too many", request(28, {text("br0"), u32(1)}), "function 28: 2 parameters instead of 1"},
    {"a number for a text", request(15, {text("br0"), u32(1)}),
     "function 15: parameter 1 has a wrong type-size code"},
    {"a number of another width", request(12, {text("br0"), u32(100), u32(1)}),
     "function 12: parameter 1 has a wrong type-size code"},
    {"an input for an output", request(27, {text("br0"), block(36, std::string(72, '0'))}),
     "function 27: parameter 1 has a wrong direction"},
    {"an output for an input", request(15, {text("br0"), output(0)}),
     "function 15: parameter 1 has a wrong direction"},
    {"an output with bytes", request(27, {text("br0"), hex("2400 0100 01000000 00")}),
     "function 27: parameter 1 is an output and has bytes"},
    {"a block that is short",
     request(86, {text("br0"), u32(1), hex("0600 0000 05000000 0102030405")}),
     "function 86: parameter 2 has a wrong length"},
    {"a number that is long", request(10, {text("br0"), hex("0400 0000 05000000 0000000000")}),
     "function 10: parameter 1 has a wrong length"},
    {"a text without its end", request(15, {text("br0"), hex("0000 0000 03000000 'abc'")}),
     "function 15: parameter 1 has no terminator"},
    {"no text at all", request(15, {text("br0"), hex("0000 0000 00000000")}),
     "function 15: parameter 1 has no terminator"},
    {"a text with two ends", request(15, {text("br0"), hex("0000 0000 04000000 'a' 00 'b' 00")}),
     "function 15: parameter 1 goes on behind its terminator"},
    {"a wrong last parameter", request(29, {text("br0"), u32(2), text("d"), text("p"), u32(0)}),
     "function 29: parameter 4 has a wrong type-size code"},
};

class Dispatch : public testing::Test {
protected:
    void SetUp() override {
        reset_node();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        ASSERT_EQ(fe_pppoeia_bridge_add("br0", 8), 0);
        ASSERT_EQ(cache_pppoeia_log_level_set(6), 0);
        clear_syslog();
    }
    void TearDown() override { fe_pppoeia_fini(); }

    static std::string state() {
        char vendor[PPPOEIA_VENDOR_SIZE] = "";
        std::uint32_t on = 0;
        cache_pppoeia_bridge_vendor_get("br0", vendor);
        cache_pppoeia_bridge_state_get("br0", &on);
        pppoeia_stats stats{};
        const int port = fe_pppoeia_port_stats_get("br0", 2, &stats);
        return std::string(vendor) + " " + std::to_string(on) + " " + std::to_string(port);
    }
};

// The bridge's worker writes to the same log.
std::vector<std::string> warnings() {
    std::vector<std::string> lines;
    for (const syslog_record &record : syslog_records())
        if (record.text.find("ippc:") != std::string::npos)
            lines.push_back(std::to_string(record.priority) + record.text);
    return lines;
}

TEST_F(Dispatch, RefusesAndChangesNothing) {
    const std::string before = state();
    for (const Malformed &row : malformed) {
        ia::node::Message message;
        ASSERT_FALSE(ia::node::read_message(row.message, message)) << row.what;
        ia::platform::IppcAnswer answer;
        EXPECT_FALSE(ia::dispatch({message.word, message.params()}, answer)) << row.what;
        EXPECT_EQ(warnings(), std::vector{std::string("4[PPPoE]  ippc: refused ") + row.warning})
            << row.what;
        EXPECT_EQ(state(), before) << row.what;
        clear_syslog();
    }
}

struct Unreadable {
    const char *message;
    const char *fault;
};

TEST(Messages, Unreadable) {
    const Unreadable rows[] = {
        {"", "it is cut off in its head"},
        {"0101 0000 000000", "it is cut off in its head"},
        {"0201 0000 00000000", "its version is 2, not 1"},
        {"0101 0900 00000000", "it has 9 parameters, more than 8"},
        {"0101 0100 07000000", "it is cut off in parameter 0"},
        {"0101 0100 07000000 0000 0000 040000", "it is cut off in parameter 0"},
        {"0101 0100 07000000 0000 0000 04000000 'br0'", "it is cut off in parameter 0"},
        {"0101 0100 07000000 0000 0000 ffffffff 'br0' 00", "it is cut off in parameter 0"},
        {"0101 0100 07000000 0000 0000 04000000 'br0' 00 00", "1 bytes follow its parameters"},
    };
    for (const auto &[message, fault] : rows) {
        ia::node::Message out;
        EXPECT_EQ(ia::node::read_message(hex(message), out), fault) << message;
    }
}

}  // namespace
