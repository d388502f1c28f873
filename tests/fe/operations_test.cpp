// Counters, system information, and what an operator reads in the trace.
#include "tests/fe/running_bridge.h"
#include "tests/support/captured_syslog.h"

using namespace ia::test;

namespace {

using Operations = RunningBridge;

TEST_F(Operations, CountersArePerPortAndPerBridge) {
    exchange(datagram({}, hex(client + "8863 1109 0000 0000")));
    exchange(datagram({}, hex(client + "8863 1119 0000 0000")));
    EXPECT_EQ(port_stats(sub).padi, 1U);
    EXPECT_EQ(port_stats(sub).padr, 1U);
    EXPECT_EQ(port_stats(net).padt, 2U);

    ASSERT_EQ(fe_pppoeia_port_stats_reset(bridge, sub), 0);
    EXPECT_EQ(port_stats(sub).padi, 0U);
    pppoeia_stats total{};
    ASSERT_EQ(fe_pppoeia_bridge_stats_get(bridge, &total), 0);
    EXPECT_EQ(total.padi, 1U);
    EXPECT_EQ(total.padt, 2U);
    ASSERT_EQ(fe_pppoeia_bridge_stats_reset(bridge), 0);
    ASSERT_EQ(fe_pppoeia_bridge_stats_get(bridge, &total), 0);
    EXPECT_EQ(total.padt, 0U);
    EXPECT_EQ(port_stats(net).padt, 2U);

    for (const std::uint32_t absent : {0U, 3U, 8U}) {
        EXPECT_EQ(fe_pppoeia_port_stats_get(bridge, absent, &total), -19);
        EXPECT_EQ(fe_pppoeia_port_stats_reset(bridge, absent), -19);
    }
    EXPECT_EQ(fe_pppoeia_bridge_stats_reset("br9"), -2);
}

TEST_F(Operations, SystemTextsHold64Characters) {
    const std::string fits(64, 'a');
    const std::string too_long(65, 'b');
    char out[65];
    ASSERT_EQ(fe_pppoeia_bridge_contact_set(bridge, fits.c_str()), 0);
    EXPECT_EQ(fe_pppoeia_bridge_contact_set(bridge, too_long.c_str()), -28);
    ASSERT_EQ(fe_pppoeia_bridge_contact_get(bridge, out), 0);
    EXPECT_EQ(out, fits);
    ASSERT_EQ(fe_pppoeia_bridge_intf_descr_set(bridge, sub, "third floor"), 0);
    ASSERT_EQ(fe_pppoeia_bridge_intf_descr_get(bridge, sub, out), 0);
    EXPECT_STREQ(out, "third floor");
    EXPECT_EQ(fe_pppoeia_bridge_intf_descr_set(bridge, 3, "nobody"), -19);
}

TEST_F(Operations, EquipmentHasASerialAndAnAddress) {
    char serial[13];
    ASSERT_EQ(fe_pppoeia_bridge_cpe_serial_set(bridge, sub, "ABCD1234ABCD"), 0);
    EXPECT_EQ(fe_pppoeia_bridge_cpe_serial_set(bridge, sub, "ABCD1234ABCDE"), -28);
    ASSERT_EQ(fe_pppoeia_bridge_cpe_serial_get(bridge, sub, serial), 0);
    EXPECT_STREQ(serial, "ABCD1234ABCD");

    unsigned char mac[6];
    ASSERT_EQ(fe_pppoeia_bridge_cpe_mac_set(bridge, sub, {{1, 2, 3, 4, 5, 6}}), 0);
    ASSERT_EQ(fe_pppoeia_bridge_cpe_serial_get(bridge, sub, mac), 0);
    EXPECT_EQ(mac[5], 6);
    EXPECT_EQ(fe_pppoeia_bridge_cpe_serial_get("br9", sub, static_cast<unsigned char *>(nullptr)),
              -22);
}

// A line of each trace of a marked PADI; addresses of memory are left out.
TEST_F(Operations, DebugTracesAFrameFromEndToEnd) {
    const LogLevel debug(7);
    clear_syslog();
    send_to(device, datagram({}, hex(client + "8863 1109 0000 0008" + service + end_of_list)));
    receive_from(device);
    fe_pppoeia_bridge_del(bridge);  // what the worker had to say is said

    std::vector<std::string> about;
    for (const std::string &line : traces())
        if (line.starts_with("<br0>    ") || line.starts_with("<br0> >>")) about.push_back(line);
    const std::vector<std::string> expected = {
        "<br0> >> @sub1 (ff:ff:ff:ff:ff:ff <-- 02:00:00:00:00:01/0000:0fff), 29 bytes.",
        "<br0> >>   ff ff ff ff ff ff 02 00   00 00 00 01 88 63 11 09 ",
        "<br0> >>   00 00 00 08 01 01 00 00   00 00 00 00 ",
        "<br0>    PPPoE starts at offset 14, version=1, type=1, code=PADI (9), "
        "session_id=0x0000, payload_length=8",
        "<br0>        SRV_NAME (0x0101), 0 (0x0000) bytes.",
        "<br0>        EOL (0x0000), 0 (0x0000) bytes.",
        "<br0>    VSA tag will be added.",
        "<br0>    VSA tag stretched by 37 bytes.",
        "<br0>    Added Circuit ID 'KORVALEN:s1 eth 3/1/1/1:0' (25 bytes).",
        "<br0>    Added Remote Agent ID '' (0 bytes).",
        "<br0>    Frame is 66 bytes, payload length 45 bytes.",
        "<br0>    Forwarding frame to net0.",
        "<br0>        VENDOR (0x0105), 33 (0x0021) bytes.",
    };
    auto from = about.begin();
    for (const std::string &line : expected) {
        from = std::find(from, about.end(), line);
        ASSERT_NE(from, about.end()) << "missing or out of order: " << line;
    }
}

TEST_F(Operations, NothingIsTracedBelowLevel7) {
    exchange(datagram({}, hex(client + "8863 1109 0000 0000")));  // the worker has started
    clear_syslog();
    exchange(datagram({}, hex(client + "8863 1109 0000 0000")));
    exchange(datagram({.port = 5}, hex(client + "8863 1109 0000 0000")));
    EXPECT_TRUE(traces().empty());
}

}  // namespace
