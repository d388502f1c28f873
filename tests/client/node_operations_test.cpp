// The node's own operations: their requests on the wire and what they do in the
// engine's process.
#include "client/request.h"
#include "client/wire.h"
#include "pppoeia/node.h"
#include "tests/client/engine_process.h"
#include "tests/client/recorder.h"
#include "tests/support/datagrams.h"
#include "tests/support/scripted_node.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>
#include <string>

using namespace ia::test;

namespace {

class NodeOperations : public testing::Test {
protected:
    NodeOperations() { ia::engine_path = path_.c_str(); }

    TempDir dir_;
    const std::string path_ = dir_ / "main";
};

TEST_F(NodeOperations, TheirRequests) {
    Recorder recorder(path_);
    EXPECT_EQ(ia::hold_frames("br0", 0), 1);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0200 e8030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 00000000")));
    EXPECT_EQ(ia::release_frames("br0", 300), 1);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0200 e9030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 2c010000")));
}

TEST_F(NodeOperations, RequestsOfBridgesAndPorts) {
    Recorder recorder(path_);
    EXPECT_EQ(ia::bind_port("br0", 300, "gem300", ia::side_network), 1);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0400 eb030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 2c010000"
                                                  "0000 0000 07000000 'gem300' 00"
                                                  "0400 0000 04000000 01000000")));
    EXPECT_EQ(ia::unbind_port("br0", 300), 1);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0200 ec030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 2c010000")));
    EXPECT_EQ(ia::describe_bridge("br0", "lan", 0x88A8, 1500), 1);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0400 ed030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0000 0000 04000000 'lan' 00"
                                                  "0200 0000 02000000 a888"
                                                  "0400 0000 04000000 dc050000")));
}

TEST_F(NodeOperations, RequestsOfThoseWhoWatch) {
    Recorder recorder(path_);
    const pppoeia_mac client = {{0x02, 0x00, 0x5E, 0x10, 0x00, 0x01}};
    ia::macro_value_block value{};
    EXPECT_NE(ia::macro_value("br0", 6, 1, 100, 0x0FFF, &client, &value), 0);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0700 f2030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 06000000"
                                                  "0400 0000 04000000 01000000"
                                                  "0200 0000 02000000 6400"
                                                  "0200 0000 02000000 ff0f"
                                                  "0600 0000 06000000 02005e100001"
                                                  "8000 0100 00000000")));
    ia::line_ids_block ids{};
    EXPECT_NE(ia::line_ids("br0", 1, 100, 5, &client, &ids), 0);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0600 f5030000"
                                                  "0000 0000 04000000 'br0' 00"
                                                  "0400 0000 04000000 01000000"
                                                  "0200 0000 02000000 6400"
                                                  "0200 0000 02000000 0500"
                                                  "0600 0000 06000000 02005e100001"
                                                  "1001 0100 00000000")));
    std::uint64_t next = 0;
    EXPECT_NE(ia::watch_frames(&next), 0);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0100 f3030000"
                                                  "0800 0100 00000000")));
    ia::watched_frame frame{};
    EXPECT_NE(ia::watched_frame_get(0x123456789A, &frame), 0);
    EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0200 f4030000"
                                                  "0800 0000 08000000 9a78563412000000"
                                                  "800c 0100 00000000")));
}

TEST_F(NodeOperations, FramesOfAPort) {
    ia::port_frames_block frames{};
    {
        Recorder recorder(path_);
        EXPECT_NE(ia::port_frames("br0", 300, &frames), 0);
        EXPECT_EQ(to_hex(recorder.take()), to_hex(hex("0101 0300 f6030000"
                                                      "0000 0000 04000000 'br0' 00"
                                                      "0400 0000 04000000 2c010000"
                                                      "b001 0100 00000000")));
    }
    // What crosses between the processes is the same number on both sides.
    ia::port_frames_block sent{};
    sent.outcomes[0] = 0x0807060504030201;
    sent.outcomes[47] = 47;
    sent.sent[5] = std::uint64_t{5} << 40;
    const auto bytes = ia::wire::encode(sent);
    EXPECT_EQ(to_hex(Bytes(bytes.begin(), bytes.begin() + 8)), to_hex(hex("0102030405060708")));
    EXPECT_EQ(to_hex(Bytes(bytes.end() - 8, bytes.end())), to_hex(hex("0000000000050000")));
    EXPECT_EQ(ia::wire::decode<ia::port_frames_block>(bytes).outcomes[47], 47U);
}

TEST_F(NodeOperations, NobodyWatchesUntilAsked) {
    EngineProcess engine(path_);
    std::uint64_t next = 99;
    ia::watched_frame frame{};
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
        for (const auto &[bridge, values] : node().described) all += bridge + ": " + values;
        return all;
    };
    EXPECT_EQ(ia::describe_bridge("br0", "lan", 0x9100, 1600), 0);
    EXPECT_EQ(ia::bind_port("br0", 1, "sub1", ia::side_subscriber), 0);
    EXPECT_EQ(ia::bind_port("br0", 7, "net0", ia::side_network), 0);
    EXPECT_EQ(ia::unbind_port("br0", 1), 0);
    EXPECT_EQ(engine.look(known), "net0: br0 7 1; br0: lan 37120 1600");
}

}  // namespace
