// The worker between its socket and its lock: batches, buffers used again, and
// memory that runs out.
#include "fe/batch.h"
#include "tests/fe/running_bridge.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/failing_memory.h"

using namespace ia::test;

namespace {

using Worker = RunningBridge;

const Bytes plain_padi = datagram({}, hex(client + "8863 1109 0000 0000"));

// The buffer that a datagram is received into held a longer one before, or an
// error reply's tag behind its own end; in what is read past the new one's end
// there are zeros.
TEST_F(Worker, ReadsZerosBehindAFrame) {
    const LogLevel everything(7);
    const struct {
        const char *name;
        std::uint32_t max_pdu;
        std::string before, then;
    } rows[] = {
        {"after a longer datagram", 1500, client + "8863 1109 0000 0000 8863 8863 8863 8863",
         client},
        // The reply's tag 0203 stands where the second frame's EtherType would.
        {"after an error reply", 20, client + "8863 1109 0000 0000",
         client + "8100 0064 8100 0064"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(cache_pppoeia_bridge_max_pdu_set(bridge, row.max_pdu), 0);
        send_to(device, datagram({}, hex(row.before)));
        EXPECT_FALSE(receive_from(device).empty());
        clear_syslog();
        EXPECT_TRUE(exchange(datagram({}, hex(row.then))).empty());
        EXPECT_TRUE(traced("<br0> >> 0x0000 is not an PPPoE Discovery EtherType."));
    }
    EXPECT_EQ(port_stats(sub).truncated, 0U);
}

// What was made under the old setting has been sent when a setter returns, and
// a frame that counts has been sent when its count is read.
TEST_F(Worker, HasSentItsFramesWhenItsLockIsHad) {
    constexpr std::size_t frames = 3 * ia::batch_max;
    std::size_t taken = 0;
    const auto take_pending = [&] {
        for (; !nothing_pending(device); ++taken) receive_from(device);
    };
    for (int round = 1; round <= 100; ++round) {
        for (std::size_t frame = 0; frame < frames; ++frame) send_to(device, plain_padi);
        const std::size_t counted = port_stats(sub).padi;
        take_pending();
        ASSERT_GE(taken, counted) << "counted before it was sent";

        const std::string shelf = "s" + std::to_string(round);
        ASSERT_EQ(cache_pppoeia_bridge_shelf_id_set(bridge, shelf.c_str()), 0);
        take_pending();
        for (; taken < frames * static_cast<std::size_t>(round); ++taken) {
            const Bytes frame = receive_from(device);
            ASSERT_NE(to_hex(frame).find(to_hex(hex("'KORVALEN:" + shelf + " eth'"))),
                      std::string::npos)
                << "made under the old setting";
        }
    }
}

TEST_F(Worker, DropsAFrameForWhichThereIsNoMemory) {
    EXPECT_FALSE(exchange(plain_padi).empty());  // the worker has started, and said so
    cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, sub, PPPOEIA_CID_CUSTOM);
    cache_pppoeia_circuit_id_format_set(bridge, "$SHELF $hCLNT_MAC");
    {
        const MemoryForThisThreadOnly here;
        EXPECT_TRUE(exchange(plain_padi).empty());
        EXPECT_TRUE(exchange(plain_padi).empty());
    }
    for (int frame = 0; frame < 3; ++frame)
        EXPECT_EQ(to_hex(exchange(plain_padi)),
                  to_hex(datagram({}, hex(client + "8863 1109 0000 0015 0105 0011 00000de9 01 09 "
                                                   "'s1 '020000000001 02 00"))));
    EXPECT_EQ(port_stats(sub).padi, 6U);
}

}  // namespace
