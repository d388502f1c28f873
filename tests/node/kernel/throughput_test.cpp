// What a frame costs on its way from a subscriber to the network through a bare
// echo: processor time, as the machine may be busy. Only printed.
#include "tests/node/kernel/fixture.h"

#include <bpf/bpf.h>
#include <linux/bpf.h>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace ia::node::test {
namespace {

double processor_seconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Nanoseconds a run of the newest program of that name, while runs are timed.
double program_ns(std::string_view name) {
    double ns = 0;
    for (std::uint32_t id = 0; bpf_prog_get_next_id(id, &id) == 0;) {
        const Descriptor program{bpf_prog_get_fd_by_id(id)};
        bpf_prog_info info{};
        std::uint32_t size = sizeof info;
        if (!program || bpf_obj_get_info_by_fd(program.get(), &info, &size) != 0) continue;
        if (name == info.name && info.run_cnt > 0)
            ns = static_cast<double>(info.run_time_ns) / static_cast<double>(info.run_cnt);
    }
    return ns;
}

class Throughput : public BridgeTest {
protected:
    static constexpr int batch = 64, rounds = 1500, frames = batch * rounds;

    void SetUp() override {
        BridgeTest::SetUp();
        if (IsSkipped()) return;
        run("ip link del n2");
        node.interfaces.erase(node.interfaces.begin() + 1);
        start();
    }

    // Batches are sent and passed on by turns on one thread.
    void measure(bool with_select) {
        Echo echo("br0", nullptr, Echo::Run::by_hand);
        const Host h1("h1");
        const Bytes padi = discovery(PADI, broadcast, mac_h1, {{0x88A8, 5}, {0x8100, 6}}).bytes();
        double sending = 0, passing = 0;
        for (int round = 0; round < rounds; ++round) {
            const double begin = processor_seconds();
            for (int i = 0; i < batch; ++i) h1.send(padi);
            const double sent = processor_seconds();
            for (int i = 0; i < batch; ++i)
                if (!with_select || echo.wait()) echo.pass_one();
            sending += sent - begin;
            passing += processor_seconds() - sent;
        }
        EXPECT_EQ(static_cast<std::uint64_t>(frames), outcome(OUTCOME_SENT));
        std::printf("%s: %.2f us a frame, %.0f frames/s; into the pseudo device %.2f us\n",
                    with_select ? "select, recv, send" : "recv, send", passing / frames * 1e6,
                    frames / passing, sending / frames * 1e6);
    }
};

TEST_F(Throughput, SelectReceiveSend) {
    measure(true);
}

TEST_F(Throughput, ReceiveSend) {
    measure(false);
}

TEST_F(Throughput, OfThePrograms) {
    const struct {
        const char *name;
        std::uint32_t rate;  // a high one costs as much as others
        Checks checks;
    } rows[] = {{"", 0, Checks::off},
                {" with limits", 1'000'000, Checks::off},
                {" with limits and checks", 1'000'000, Checks::watch}};
    for (const auto &row : rows) {
        kernel.reset();
        Bridge &bridge = node.bridges[0];
        bridge.limits = {};
        bridge.limits.line_rate = bridge.limits.line_burst = row.rate;
        bridge.limits.port_rate = bridge.limits.port_burst = row.rate;
        bridge.bridge_limits.engine_rate = row.rate;
        bridge.bridge_limits.checks = row.checks;
        start();
        const Descriptor timed{bpf_enable_stats(BPF_STATS_RUN_TIME)};
        ASSERT_TRUE(timed);
        measure(false);
        for (const char *name : {"pppoeia_enter", "pppoeia_leave", "pppoeia_guard"})
            std::printf("%s%s: %.0f ns a frame\n", name, row.name, program_ns(name));
    }
}

}  // namespace
}  // namespace ia::node::test
