// What the engine remembers of its lines and servers.
#include "fe/lines.h"
#include "pppoeia/node.h"
#include "tests/fe/running_bridge.h"

#include <cstring>
#include <string>
#include <vector>

using namespace ia::test;

namespace {

// A PADI and a PADR; a PADO of "bng" and a PADS of session 7; a PADT of each side.
const std::string up = "ffffffffffff 020000000011 8863 11";
const std::string down = "020000000011 020000000002 8863 11";
const std::string padi = up + "09 0000 0004" + service, padr = up + "19 0000 0004" + service;
const std::string pado = down + "07 0000 000b" + service + "0102 0003 'bng'";
const std::string pads = down + "65 0007 0004" + service;
const std::string no_session = down + "65 0000 0004" + service;
const std::string system_error = down + "65 0000 000c" + "0202 0008 'no free!'";
const std::string client_padt = up + "a7 0007 0000", server_padt = down + "a7 0007 0000";
const std::string other_padt = down + "a7 0008 0000";
const std::string marked_padi = up + "09 0000 000a" + other_tag;

const char *const words[] = {
#define ROW(name, word, meaning) word,
    LINE_EVENTS(ROW)
#undef ROW
};
const char *const states[] = {
#define ROW(name, word) word,
    LINE_STATES(ROW)
#undef ROW
};

class Lines : public RunningBridge {
protected:
    // A subscriber's on VLAN 5 and customer VLAN 9, with priorities; or a server's.
    void pass(const std::string &frame, std::uint16_t vlan = 0x6005) {
        Record record{.port = sub, .vlan = vlan, .cvlan = 0xA009};
        if (frame.starts_with("02"))
            record = {.port = net, .vlan = 5, .cvlan = 9, .in = "net0", .out = "sub1"};
        exchange(datagram(record, hex(frame)));
    }

    std::string story(std::uint16_t vlan = 5) {
        ia::line_story_block line{};
        if (ia::fe_line_story(bridge, sub, vlan, 9, &line) != 0) return "none";
        std::string text = states[line.row.state];
        for (std::size_t i = 0; i < line.event_count; ++i) {
            const ia::line_event &event = line.events[i];
            text += std::string(" ") + words[event.kind];
            if (event.count > 1) text += "*" + std::to_string(event.count);
            if (event.text[0]) text += "'" + std::string(event.text) + "'";
        }
        return text;
    }
};

struct Row {
    const char *what;
    std::vector<std::string> frames;
    const char *story;
};

const Row story_rows[] = {
    {"nobody answers", {padi, padi, padi}, "asking padi*3"},
    {"the client does not go on", {padi, pado}, "offered padi pado'bng'"},
    {"a session", {padi, pado, padr, pads}, "online padi pado'bng' padr pads'bng'"},
    {"a PADS without session",
     {padi, pado, padr, no_session},
     "refused padi pado'bng' padr refused"},
    {"AC-System-Error", {padr, system_error, padr}, "refused padr refused'no free!' padr"},
    {"ended by the client", {padr, pads, client_padt}, "asking padr pads client-ended"},
    {"ended by the server", {padr, pads, server_padt}, "asking padr pads server-ended"},
    {"the end of another session", {padr, pads, other_padt}, "online padr pads server-ended"},
    {"a tag from an untrusted port", {marked_padi}, "asking untrusted-tag"},
    {"an answer to nobody", {pado}, "none"},
};

TEST_F(Lines, TellTheirStory) {
    for (const Row &row : story_rows) {
        SCOPED_TRACE(row.what);
        for (const std::string &frame : row.frames) pass(frame);
        EXPECT_EQ(story(), row.story);
        TearDown();
        SetUp();
    }
}

TEST_F(Lines, WhatThePortIsSetTo) {
    cache_pppoeia_port_state_set(bridge, sub, PPPOEIA_PORT_SERVER);
    pass(padi);
    cache_pppoeia_port_state_set(bridge, sub, PPPOEIA_PORT_DISABLED);
    pass(padi);
    cache_pppoeia_bridge_max_pdu_set(bridge, 40);
    cache_pppoeia_port_state_set(bridge, sub, PPPOEIA_PORT_CLIENT);
    pass(padi);
    EXPECT_EQ(story(), "asking wrong-role port-disabled oversize");
}

TEST_F(Lines, ServersAreCounted) {
    for (const std::string &frame : {padi, pado, padr, pads, padr, system_error}) pass(frame);
    ia::server_rows_block servers{};
    ASSERT_EQ(ia::fe_server_rows(bridge, 0, &servers), 0);
    ASSERT_EQ(servers.count, 1U);
    const ia::server_row &row = servers.rows[0];
    EXPECT_STREQ(row.ac_name, "bng");
    EXPECT_EQ((std::vector{row.offers, row.sessions, row.refusals}),
              (std::vector<std::uint32_t>{1, 1, 1}));
}

// Frames on other lines are made up until every place is taken.
TEST_F(Lines, TheOneSilentForLongestGivesWay) {
    pass(padr);
    pass(pads);
    pass(padi, 6);
    pass(padi, 7);
    ia::line_rows_block rows{};
    const auto fill = [&](std::size_t lines) {
        for (std::uint16_t cvlan = 10; rows.kept < lines; ++cvlan) {
            exchange(datagram({.port = sub, .vlan = 8, .cvlan = cvlan}, hex(padi)));
            ASSERT_EQ(ia::fe_line_rows(bridge, 0, &rows), 0);
        }
    };
    fill(ia::lines_max);
    EXPECT_EQ(rows.limit, ia::lines_max);
    pass(padi, 6);
    pass(padi, 9);
    EXPECT_EQ(story(), "online padr pads") << "never one with a session";
    EXPECT_EQ(story(6), "asking padi*2") << "heard again";
    EXPECT_EQ(story(7), "none") << "the oldest";
    ASSERT_EQ(ia::fe_line_rows(bridge, 0, &rows), 0);
    EXPECT_EQ(rows.forgotten, 1U);
}

}  // namespace
