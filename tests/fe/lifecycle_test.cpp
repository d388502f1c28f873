// Start-up, shutdown, bridges made and removed, and every way that fails.
#include "fe/bridge_runtime.h"
#include "store/bridge_list.h"
#include "tests/fe/running_bridge.h"
#include "tests/support/captured_syslog.h"
#include "tests/support/failing_memory.h"

#include <sys/ioctl.h>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

using namespace ia::test;

namespace {

std::size_t open_descriptors() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

class Module : public testing::Test {
protected:
    void SetUp() override {
        reset_node();
        clear_syslog();
    }
    void TearDown() override { fe_pppoeia_fini(); }
};

// A second one that fails ends what the first began.
TEST_F(Module, AFailedStartLeavesNothingStarted) {
    const struct {
        bool ScriptedNode::*module;
        int result;
        const char *message;
    } rows[] = {{&ScriptedNode::kvmng, ENOENT, "Unable to contact kernel module 'kvmng'."},
                {&ScriptedNode::kvbridge, -1, "Unable to contact kernel module 'kvbridge'."}};
    for (const bool second : {false, true})
        for (const auto &row : rows) {
            SCOPED_TRACE(row.message);
            reset_node();
            clear_syslog();
            if (second) {
                ASSERT_EQ(fe_pppoeia_init(), 0);
                ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
            }
            node().*row.module = false;
            EXPECT_EQ(fe_pppoeia_init(), row.result);
            EXPECT_EQ(std::ranges::count(traces(), row.message), 1);
            EXPECT_EQ(fe_pppoeia_bridge_add("br0", 4), -6);
            EXPECT_EQ(fe_pppoeia_bridge_del("br0"), -6);
            EXPECT_EQ(fe_pppoeia_fini(), -2);
            // Without kvmng a pseudo device cannot go.
            EXPECT_EQ(node().pseudo_devices.size(), second && !node().kvmng);
            EXPECT_EQ(node().open_control_files, 0);
        }
}

TEST_F(Module, OtherVersionsAreReportedNotRefused) {
    node().kvmng_version = 2;
    node().failing[KVBRIDGE_IOC_GET_VERSION] = ENOTTY;
    EXPECT_EQ(fe_pppoeia_init(), 0);
    EXPECT_EQ(traces(),
              (std::vector<std::string>{"Kernel module 'kvmng' version mismatch (2 instead of 3).",
                                        "Kernel module 'kvbridge' too old."}));
}

TEST_F(Module, ASecondStartBeginsWithAnEmptyList) {
    ASSERT_EQ(fe_pppoeia_init(), 0);
    ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
    clear_syslog();
    EXPECT_EQ(fe_pppoeia_init(), 0);
    EXPECT_TRUE(std::ranges::count(traces(), "Already initialized.") == 1);
    pppoeia_stats stats{};
    EXPECT_EQ(fe_pppoeia_bridge_stats_get("br0", &stats), -2);
    EXPECT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
}

TEST_F(Module, FiniReleasesEveryBridge) {
    node().bridges = {"br0", "br1", "br2"};
    ASSERT_EQ(fe_pppoeia_init(), 0);
    for (const char *name : {"br0", "br1", "br2"}) ASSERT_EQ(fe_pppoeia_bridge_add(name, 4), 0);
    EXPECT_EQ(fe_pppoeia_fini(), 0);
    EXPECT_TRUE(node().pseudo_devices.empty());
    EXPECT_TRUE(node().filters.empty());
    EXPECT_EQ(fe_pppoeia_fini(), -2);
    EXPECT_EQ(traces().back(), "PPPoE IA not initialized.");
}

class Bridge : public Module {
protected:
    void SetUp() override {
        Module::SetUp();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        clear_syslog();
    }

    static void expect_nothing_left(std::size_t descriptors_before) {
        EXPECT_FALSE(ia::bridge_list_find("br0"));
        EXPECT_TRUE(node().pseudo_devices.empty());
        EXPECT_EQ(node().open_control_files, 0);
        // The test keeps the far end of a packet socket that was opened.
        EXPECT_LE(open_descriptors(), descriptors_before + 1);
    }
};

TEST_F(Bridge, StartsWithItsDefaults) {
    frame_adjust = 0;
    ASSERT_EQ(fe_pppoeia_bridge_add("br0", 8), 0);
    std::vector<std::string> written = traces();
    std::erase(written, "<br0> Unable to set priority.");  // the worker's, at any time
    EXPECT_EQ(
        written,
        (std::vector<std::string>{
            "Frame adjust is 0 bytes.", "Frame adjust is 106 bytes.", "Frame adjust is 106 bytes.",
            "<br0> Bridge added (S-Tag EtherType=0x88a8, ports=8, MTU=1615, buffer=1721)."}));
    const ia::LockedBridge made("br0");
    ASSERT_TRUE(made);
    EXPECT_STREQ(made->pseudo_dev, "br0_pppoe");
    EXPECT_STREQ(made->vendor, "KORVALEN");
    EXPECT_EQ(made->chassis_id, 99U);
    EXPECT_EQ(made->max_pdu, 1615U);
    EXPECT_EQ(made->vsa_mode, 1U);
    EXPECT_EQ(made->board_pos, 3U);
    EXPECT_TRUE(made->vlan_enabled.none());
    EXPECT_TRUE(made->ports[7].vlan_member.all());
    EXPECT_EQ(node().filters.at("br0"), "br0_pppoe");
}

TEST_F(Bridge, NamesOfTenCharactersFit) {
    node().bridges = {"0123456789", "01234567890"};
    EXPECT_EQ(fe_pppoeia_bridge_add("01234567890", 4), -22);
    EXPECT_EQ(traces().back(), "Max bridge name length can be 10.");
    EXPECT_EQ(fe_pppoeia_bridge_add("0123456789", 4), 0);
    EXPECT_TRUE(node().pseudo_devices.contains("0123456789_pppo"));  // 15 characters
    EXPECT_EQ(fe_pppoeia_bridge_add("0123456789", 4), -19);
    EXPECT_EQ(traces().back(), "<0123456789> Bridge already exists.");
}

TEST_F(Bridge, AnExistingPseudoDeviceIsReused) {
    node().pseudo_devices.insert("br0_pppoe");
    EXPECT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
}

TEST_F(Bridge, WithoutAnMtuItTakes1500) {
    node().mtu = 0;
    ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
    const ia::LockedBridge made("br0");
    EXPECT_EQ(made->mtu, 1500U);
    EXPECT_EQ(made->runtime->buf_size, 1606U);
}

struct Failure {
    const char *name;
    void (*prepare)();
    int result;
    const char *message;
    std::uint32_t ports = 4;
};

TEST_F(Bridge, AFailedStartLeavesNothingBehind) {
    const std::string no_memory =
        "<br0> Cannot allocate memory (" +
        std::to_string(sizeof(pppoeia_bridge) + 0xFFFFFFFFULL * sizeof(pppoeia_port)) + " bytes).";
    const Failure failures[] = {
        {"no such kernel bridge", [] { node().bridges.clear(); }, -24, "<br0> Cannot open bridge."},
        {"no information", [] { node().failing[KVBRIDGE_IOC_GET_INFO] = EIO; }, -1,
         "<br0> Unable to get bridge information."},
        {"no memory", [] {}, -12, no_memory.c_str(), 0xFFFFFFFF},
        {"no pseudo device", [] { node().failing[KVMNG_IOC_PSEUDO_ADD] = EPERM; }, -1,
         "<br0> Unable to create pseudo device 'br0_pppoe'."},
        {"device flags", [] { node().failing[SIOCGIFFLAGS] = ENODEV; }, -1,
         "<br0> Unable to get flags."},
        {"device up", [] { node().failing[SIOCSIFFLAGS] = EPERM; }, -1,
         "<br0> Unable to set flags."},
        {"filter", [] { node().failing[KVBRIDGE_IOC_FILTER_ATTACH] = EBUSY; }, -1,
         "<br0> Cannot attach filter to 'br0_pppoe' (rv=-1, errno=16)."},
        {"socket", [] { node().sockets_fail = true; }, -24, "<br0> Cannot create socket (24)."},
        {"device index", [] { node().failing[SIOCGIFINDEX] = ENODEV; }, -19,
         "<br0> Cannot find device 'br0_pppoe' index."},
        {"bind", [] { node().bind_result = -1; }, -1, "<br0> Cannot bind socket."},
    };
    for (const Failure &failure : failures) {
        SCOPED_TRACE(failure.name);
        fe_pppoeia_fini();
        reset_node();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        const std::size_t before = open_descriptors();
        clear_syslog();
        failure.prepare();
        EXPECT_EQ(fe_pppoeia_bridge_add("br0", failure.ports), failure.result);
        const std::vector<std::string> written = traces();
        EXPECT_NE(std::ranges::find(written, failure.message), written.end());
        expect_nothing_left(before);
    }
}

TEST_F(Bridge, WithoutMemoryAStartLeavesNothingBehind) {
    const std::size_t before = open_descriptors();
    const LogLevel silent(-1);  // the captured log is not to need memory
    std::size_t failed = 0;
    with_each_allocation_failing([] { return fe_pppoeia_bridge_add("br0", 4); },
                                 [&](std::size_t nth, int result) {
                                     SCOPED_TRACE(nth);
                                     ++failed;
                                     EXPECT_TRUE(result == -12 || result == -24) << result;
                                     expect_nothing_left(before);
                                     fe_pppoeia_fini();
                                     reset_node();
                                     ASSERT_EQ(fe_pppoeia_init(), 0);
                                 });
    EXPECT_GT(failed, 35U);  // a buffer for each of a batch, and more
    EXPECT_TRUE(ia::bridge_list_find("br0"));
}

// A 16-bit port index names no more of them, but a table may have more.
TEST_F(Bridge, TakesMoreSlotsThanAFrameCanName) {
    ASSERT_EQ(fe_pppoeia_bridge_add("br0", 70000), 0);
    pppoeia_port_info info{};
    EXPECT_EQ(cache_pppoeia_port_add("br0", 69999, "sub1", "1/1/1", &info), 0);
}

// The store's operations that the management process has of its own.
TEST_F(Bridge, EndsAlsoWhenTheStoreDropsIt) {
    const std::size_t before = open_descriptors();
    for (int (*drop)() : {+[] { return pppoeia_cache_on_bridge_del("br0"); },
                          +[] { return pppoeia_cache_init(); }}) {
        ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
        EXPECT_EQ(drop(), 0);
        expect_nothing_left(before);
    }
}

TEST_F(Bridge, DeletionReleasesWhatItOwned) {
    const std::size_t before = open_descriptors();
    ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
    const LogLevel debug(7);
    EXPECT_EQ(fe_pppoeia_bridge_del("br0"), 0);
    EXPECT_TRUE(traced("<br0> Finished."));
    EXPECT_TRUE(traced("<br0> Pseudo device 'br0_pppoe' deleted."));
    EXPECT_TRUE(traced("<br0> Bridge deleted."));
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(fe_pppoeia_bridge_del("br0"), -2);
    EXPECT_TRUE(traced("fe_pppoeia_bridge_del()=-ENOENT"));
}

// One thread makes and removes the bridge under traffic while another changes
// its settings: a thousand times, and nothing is left.
TEST_F(Bridge, ComesAndGoesAThousandTimesUnderTraffic) {
    const std::size_t before = open_descriptors();
    std::atomic<bool> done{false};
    std::thread settings([&] {
        for (std::uint32_t i = 0; !done; ++i) {
            cache_pppoeia_bridge_shelf_id_set("br0", i % 2 ? "odd" : "even");
            pppoeia_port_info info{};
            cache_pppoeia_port_add("br0", 1, "sub1", "1/1/1", &info);
            cache_pppoeia_port_state_set("br0", 1, PPPOEIA_PORT_BOTH);
            cache_pppoeia_port_vlan_add("br0", 1, static_cast<std::uint16_t>(i % 4096));
            pppoeia_stats stats{};
            fe_pppoeia_port_stats_get("br0", 1, &stats);
        }
    });
    const Bytes frame = datagram({.port = 1}, hex(client + "8863 1109 0000 0000"));
    for (int round = 0; round < 1000; ++round) {
        ASSERT_EQ(fe_pppoeia_bridge_add("br0", 4), 0);
        for (int i = 0; i < 3; ++i) send_to(device, frame);
        ASSERT_EQ(fe_pppoeia_bridge_del("br0"), 0);
    }
    done = true;
    settings.join();
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
