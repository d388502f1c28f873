// The made-up subscriber and the step-by-step lines.
#include "diag/test_data.h"

#include "idgen/assembly.h"
#include "tests/idgen/scenario.h"

#include <thread>

using namespace ia::test;

namespace {

// Run under the thread sanitizer this also shows that nothing races.
TEST(TestData, IsReadWholeWhileItIsWritten) {
    std::atomic<bool> done{false};
    std::thread writer([&done] {
        for (int round = 0; round < 2000; ++round) {
            customFormatTestData_t data;
            data.customCidStr = std::string(100, round % 2 ? 'a' : 'b');
            data.customRidStr = data.customCidStr;
            ia::set_test_data(data);
        }
        done = true;
    });
    while (!done) {
        const customFormatTestData_t data = ia::test_data();
        ASSERT_EQ(data.customCidStr, data.customRidStr);
    }
    writer.join();
    ia::set_test_data({});
}

class DebugLines : public IdTest {};

TEST_F(DebugLines, NameTheFunctionsWhileTheFlagIsOn) {
    pppoeia_bridge bridge("br0", 13);
    fill(bridge);
    std::string id;
    std::vector<std::uint8_t> binary;
    const auto printed = [&](bool on) {
        ia::test_debug = on;
        testing::internal::CaptureStdout();
        genCustomId(&bridge, GEM, 100, 5, "$z5PORT", id, binary, ID_GEN_FRAME);
        ia::test_debug = false;
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(printed(false), "");
    const std::string lines = printed(true);
    for (const char *function : {"genCustomId", "getNextMacroFormatString", "parseOptChars",
                                 "getMacroStringValue", "processMacroString", "macroAreFlagsValid"})
        EXPECT_NE(lines.find(std::string("PPPOEIA_DEBUG:") + function + " "), std::string::npos)
            << function;
    std::istringstream text(lines);
    for (std::string line; std::getline(text, line);)
        EXPECT_TRUE(line.starts_with("PPPOEIA_DEBUG:")) << line;
}

}  // namespace
