// The node's own operations: their requests on the wire and what they do in the
// engine's process.
#include "client/request.h"
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

}  // namespace
