// The node's own operations: their requests on the wire and what they do in the
// engine's process.
#include "client/request.h"
#include "client/wire.h"
#include "pppoeia/node.h"
#include "tests/client/engine_process.h"
#include "tests/client/operation_rows.h"
#include "tests/client/recorder.h"
#include "tests/support/scripted_node.h"

#include <gtest/gtest.h>
#include <string>

using namespace ia::test;

namespace {

using NodeOperations = EngineAt;

const pppoeia_mac mac = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}};
const Bytes mac_bytes = block(6, "02005e100001");

struct NodeRow {
    std::uint16_t id;
    int (*call)();
    std::vector<Bytes> params;
};

const NodeRow node_rows[] = {
    {1000, [] { return ia::hold_frames(br, 0); }, {text(br), u32(0)}},
    {1001, [] { return ia::release_frames(br, 300); }, {text(br), u32(300)}},
    {1003,
     [] { return ia::bind_port(br, 300, "gem300", ia::side_network); },
     {text(br), u32(300), text("gem300"), u32(1)}},
    {1004, [] { return ia::unbind_port(br, 300); }, {text(br), u32(300)}},
    {1005,
     [] { return ia::describe_bridge(br, "lan", 0x88A8, 1500); },
     {text(br), text("lan"), u16(0x88A8), u32(1500)}},
    {1010,
     [] {
         ia::MacroValueBlock value{};
         return ia::macro_value(br, 6, 1, 100, 0x0FFF, &mac, &value);
     },
     {text(br), u32(6), u32(1), u16(100), u16(0x0FFF), mac_bytes, hex("8000 0100 00000000")}},
    {1013,
     [] {
         ia::LineIdsBlock ids{};
         return ia::line_ids(br, 1, 100, 5, &mac, &ids);
     },
     {text(br), u32(1), u16(100), u16(5), mac_bytes, hex("1001 0100 00000000")}},
    {1014,
     [] {
         ia::PortFramesBlock frames{};
         return ia::port_frames(br, 300, &frames);
     },
     {text(br), u32(300), hex("b001 0100 00000000")}},
    {1016,
     [] {
         ia::line_rows_block rows{};
         return ia::line_rows(br, 40, &rows);
     },
     {text(br), u32(40), hex("e00d 0100 00000000")}},
    {1017,
     [] {
         ia::line_story_block line{};
         return ia::line_story(br, 1, 100, 5, &line);
     },
     {text(br), u32(1), u16(100), u16(5), hex("1006 0100 00000000")}},
    {1018,
     [] {
         ia::server_rows_block rows{};
         return ia::server_rows(br, 16, &rows);
     },
     {text(br), u32(16), hex("880c 0100 00000000")}},
    {1011,
     [] {
         std::uint64_t next = 0;
         return ia::watch_frames(&next);
     },
     {hex("0800 0100 00000000")}},
    {1012,
     [] {
         ia::WatchedFrame frame{};
         return ia::watched_frame_get(0x123456789A, &frame);
     },
     {hex("0800 0000 08000000 9a78563412000000"), hex("800c 0100 00000000")}},
};

TEST_F(NodeOperations, SendTheirRequest) {
    Recorder recorder(path_);
    for (const NodeRow &row : node_rows) {
        EXPECT_EQ(row.call(), 1) << row.id;
        EXPECT_EQ(to_hex(recorder.take()), to_hex(request(row.id, row.params))) << row.id;
    }
}

TEST(PortFrames, AreTheSameNumbersOnBothSides) {
    ia::PortFramesBlock sent{};
    sent.outcomes[0] = 0x0807060504030201;
    sent.outcomes[47] = 47;
    sent.sent[5] = std::uint64_t{5} << 40;
    const auto bytes = ia::wire::encode(sent);
    EXPECT_EQ(to_hex(Bytes(bytes.begin(), bytes.begin() + 8)), to_hex(hex("0102030405060708")));
    EXPECT_EQ(to_hex(Bytes(bytes.end() - 8, bytes.end())), to_hex(hex("0000000000050000")));
    EXPECT_EQ(ia::wire::decode<ia::PortFramesBlock>(bytes).outcomes[47], 47U);
}

TEST_F(NodeOperations, NobodyWatchesUntilAsked) {
    EngineProcess engine(path_);
    std::uint64_t next = 99;
    ia::WatchedFrame frame{};
    EXPECT_EQ(ia::watched_frame_get(0, &frame), -2);
    EXPECT_EQ(ia::watch_frames(&next), 0);
    EXPECT_EQ(next, 0U);
    EXPECT_EQ(ia::watched_frame_get(next, &frame), 1) << "none yet";
}

TEST_F(NodeOperations, HoldAndRelease) {
    EngineProcess engine(path_);
    const auto held = [] {
        std::string all;
        for (const auto &[bridge, port] : node().held) all += bridge + std::to_string(port) + " ";
        return all;
    };
    EXPECT_EQ(ia::hold_frames("br0", 0), 0);
    EXPECT_EQ(ia::hold_frames("br0", 7), 0);
    EXPECT_EQ(engine.look(held), "br00 br07 ");
    EXPECT_EQ(ia::release_frames("br0", 0), 0);
    EXPECT_EQ(engine.look(held), "br07 ");
    EXPECT_EQ(ia::release_frames("br1", 0), -22) << "the engine's result comes back";
}

TEST_F(NodeOperations, BridgesAndPorts) {
    EngineProcess engine(path_);
    const auto known = [] {
        std::string all;
        for (const auto &[device, place] : node().bound) all += device + ": " + place + "; ";
        for (const auto &[bridge, values] : node().described) all += bridge + ": " + values + "; ";
        return all;
    };
    EXPECT_EQ(ia::describe_bridge("br0", "lan", 0x9100, 1600), 0);
    EXPECT_EQ(ia::describe_board(3, "eth0"), 0);
    EXPECT_EQ(ia::bind_port("br0", 1, "sub1", ia::side_subscriber), 0);
    EXPECT_EQ(ia::bind_port("br0", 7, "net0", ia::side_network), 0);
    EXPECT_EQ(ia::unbind_port("br0", 1), 0);
    EXPECT_EQ(engine.look(known), "net0: br0 7 1; br0: lan 37120 1600; the board: 3 eth0; ");
}

}  // namespace
