// Requests that their tag would make too large for the bridge.
#include "fe/base/notice.h"
#include "platform/frame_outcomes.h"
#include "pppoeia/node.h"
#include "tests/fe/running_bridge.h"
#include "tests/support/captured_syslog.h"

#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

using namespace ia::test;

namespace {

// A PADI of 1,484 bytes is legal: 14 bytes of Ethernet header, 6 of PPPoE, a
// Service-Name of 1,460 bytes. With its tag it has 1,521.
Bytes large(const std::string &code, std::size_t service_name) {
    const auto be16 = [](std::size_t value) {
        return Bytes{static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    };
    return hex(client + "8863 11" + code + "0042") + be16(service_name + 4) + hex("0101") +
           be16(service_name) + Bytes(service_name, 'x');
}

using Oversize = RunningBridge;

TEST_F(Oversize, PadiIsAnsweredWithGenericErrorFromTheManagementAddress) {
    const Bytes request = large("09", 1460);
    ASSERT_EQ(request.size(), 1484U);
    const Bytes answer = exchange(datagram({}, request));

    // Same size; back to the subscriber's port; one empty Generic-Error tag, the
    // rest of the frame filled with ones.
    const Bytes expected = datagram(
        {.in = device, .out = "sub1"},
        hex("020000000001 020000000099 8863 1107 0042 0004 0203 0000") + Bytes(1484 - 24, 0xFF));
    // Behind a shorter name the field keeps what it held.
    EXPECT_EQ(to_hex(Bytes(answer.begin() + 107, answer.end())),
              to_hex(Bytes(expected.begin() + 107, expected.end())));
    EXPECT_STREQ(reinterpret_cast<const char *>(answer.data() + 74), device);
    EXPECT_STREQ(reinterpret_cast<const char *>(answer.data() + 90), "sub1");
    EXPECT_EQ(answer.size(), 107U + 1484U);
    EXPECT_EQ(port_stats(sub).padi, 1U);
}

TEST_F(Oversize, PadrBecomesPads) {
    const Bytes answer = exchange(datagram({}, large("19", 1460)));
    ASSERT_GT(answer.size(), 107U + 20U);
    EXPECT_EQ(to_hex(Bytes(answer.begin() + 107, answer.begin() + 107 + 24)),
              to_hex(hex("020000000001 020000000099 8863 1165 0042 0004 0203 0000")));
}

TEST_F(Oversize, TheLimitItselfStillFits) {
    // 14 + 6 + 4 + 1439 + 37 = 1500
    const Bytes marked = exchange(datagram({}, large("09", 1439)));
    EXPECT_EQ(marked.size(), 107U + 1500U);
    EXPECT_EQ(to_hex(Bytes(marked.end() - 37, marked.end())), to_hex(hex(line_tag)));
    const Bytes answered = exchange(datagram({}, large("09", 1440)));
    EXPECT_EQ(answered.size(), 107U + 1463U + 1U);
}

TEST_F(Oversize, WithoutALocalAddressTheFrameIsDropped) {
    node().failing[SIOCGIFHWADDR] = ENODEV;
    clear_syslog();
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(exchange(datagram({}, large("09", 1460))).empty());
    EXPECT_EQ(port_stats(sub).padi, 3U);
    ia::PortFramesBlock frames{};
    EXPECT_EQ(ia::fe_port_frames(bridge, sub, &frames), 0);
    EXPECT_EQ(frames.outcomes[OUTCOME_NO_LOCAL_MAC], 3U);
    EXPECT_THAT(traces(), ::testing::ElementsAre("pppoeia_get_local_mac: error: No such device\n",
                                                 "<br0>    Error getting local MAC."));
}

TEST(Notice, OnceAMinuteWithTheNumberLeftOut) {
    using std::chrono::milliseconds;
    const ia::Notice::Clock::time_point start = ia::Notice::Clock::now();
    ia::Notice notice;
    EXPECT_EQ(notice.due(start), 0U);
    for (const int ms : {0, 1, 30000, 59999})
        EXPECT_EQ(notice.due(start + milliseconds(ms)), std::nullopt) << ms;
    EXPECT_EQ(notice.due(start + milliseconds(60000)), 4U);
    EXPECT_EQ(notice.due(start + milliseconds(119999)), std::nullopt);
    EXPECT_EQ(notice.due(start + milliseconds(300000)), 1U);
}

TEST_F(Oversize, AFrameShorterThanTheReplyStaysInsideIt) {
    ASSERT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, 20), 0);
    const Bytes answer = exchange(datagram({}, hex(client + "8863 1109 0001 0000")));
    EXPECT_EQ(to_hex(Bytes(answer.begin() + 107, answer.end())),
              to_hex(hex("020000000001 020000000099 8863 1107 0001 0004")));
}

TEST_F(Oversize, TheLargestMarkedFrameFitsTheBuffer) {
    // The pseudo device's MTU is the largest limit there is: 1615.
    ASSERT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, 1615), 0);
    const Bytes marked = exchange(datagram({}, large("09", 1615 - 61)));
    EXPECT_EQ(marked.size(), 107U + 1615U);
    EXPECT_EQ(to_hex(Bytes(marked.end() - 37, marked.end())), to_hex(hex(line_tag)));
    EXPECT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, 1616), -22);
}

}  // namespace
