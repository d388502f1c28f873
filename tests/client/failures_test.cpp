// Calls that do not succeed, and what they leave behind.
#include "client/request.h"
#include "node/ippc/ippc_server.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"
#include "tests/client/engine_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

using namespace ia::test;

namespace {

pppoeia_port_info port_kind(const char *type) {
    pppoeia_port_info info{};
    std::copy_n(type, 3, info.intf_type);
    return info;
}

std::string vendor() {
    char text[PPPOEIA_VENDOR_SIZE] = "";
    pppoeia_bridge_vendor_get(br, text);
    return text;
}

class Failures : public EngineAt {
protected:
    // A bridge with an Ethernet port in both processes.
    static void provision() {
        const pppoeia_port_info info = port_kind("eth");
        ASSERT_EQ(pppoeia_init(), 0);
        ASSERT_EQ(pppoeia_bridge_add(br, 8), 0);
        ASSERT_EQ(pppoeia_port_add(br, 1, "dev1", "1/1/1", &info), 0);
        ASSERT_EQ(pppoeia_bridge_vendor_set(br, "ACME"), 0);
    }

    // The same in this process's store only.
    static void provision_store() {
        pppoeia_cache_init();
        ASSERT_EQ(pppoeia_cache_on_bridge_add(br, 8), 0);
        ASSERT_EQ(cache_pppoeia_bridge_vendor_set(br, "ACME"), 0);
    }
};

// --- an engine that does not answer ---------------------------------------------------

TEST_F(Failures, NoEngine) {
    provision_store();
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, "OTHER"), 4);
    EXPECT_EQ(pppoeia_bridge_del(br), 4);
    EXPECT_EQ(pppoeia_init(), 4);
    EXPECT_EQ(vendor(), "ACME");
}

TEST_F(Failures, ATextThatNoMessageHolds) {
    provision_store();
    const EngineProcess engine(path_);
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, std::string(70000, 'x').c_str()), 4);
    EXPECT_EQ(vendor(), "ACME");
}

TEST_F(Failures, TheEngineDiesInTheCall) {
    provision_store();
    int told[2];
    ASSERT_EQ(pipe2(told, O_CLOEXEC), 0);
    const pid_t engine = fork();
    if (engine == 0) {
        const ia::node::IppcServer server(
            path_,
            [&](const auto &, auto &) {
                static_cast<void>(write(told[1], "x", 1));
                pause();
                return true;
            },
            [](const std::string &) {});
        static_cast<void>(write(told[1], "r", 1));
        pause();
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(told[0], &byte, 1), 1);  // it serves
    const auto before = std::chrono::steady_clock::now();
    std::thread killer([&] {
        if (read(told[0], &byte, 1) == 1) kill(engine, SIGKILL);  // it runs the request
    });
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, "OTHER"), 4);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
    killer.join();
    waitpid(engine, nullptr, 0);
    EXPECT_EQ(vendor(), "ACME");
    close(told[0]);
    close(told[1]);
}

TEST_F(Failures, TheEngineHangs) {
    EngineProcess engine(path_);
    provision();
    engine.stop();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, "OTHER"), 4);
    const auto waited = std::chrono::steady_clock::now() - before;
    engine.go_on();
    EXPECT_GT(waited, std::chrono::milliseconds(4900));
    EXPECT_LT(waited, std::chrono::milliseconds(5500));
    EXPECT_EQ(vendor(), "ACME");
    // What failed is not run later either.
    EXPECT_EQ(pppoeia_bridge_state_set(br, 1), 0);
    EXPECT_EQ(engine.look(vendor), "ACME");
}

TEST_F(Failures, ARestartedEngineIsFoundByTheNextCall) {
    {
        const EngineProcess engine(path_);
        provision();
    }
    {
        EngineProcess engine(path_);
        provision();
        EXPECT_EQ(engine.look(vendor), "ACME");
        engine.kill();
        EXPECT_EQ(pppoeia_bridge_vendor_set(br, "OTHER"), 4);
    }
    EngineProcess engine(path_);
    provision();
    EXPECT_EQ(engine.look(vendor), "ACME");
}

// --- an engine that refuses -------------------------------------------------------------

TEST_F(Failures, RefusalsAreNotRepeatedInTheStore) {
    EngineProcess engine(path_);
    provision();
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, "twenty-five characters..."), -12);
    EXPECT_EQ(vendor(), "ACME");
    EXPECT_EQ(engine.look(vendor), "ACME");
    EXPECT_EQ(pppoeia_bridge_add("no such bridge", 8), -22);
    EXPECT_EQ(pppoeia_port_state_set(br, 7, 1), -19);
    EXPECT_EQ(pppoeia_circuit_id_format_set(br, std::string(129, 'f').c_str()), -28);
}

TEST_F(Failures, APvcOnAnEthernetPort) {
    EngineProcess engine(path_);
    provision();
    EXPECT_EQ(pppoeia_port_pvc_set(br, 1, 8, 35), 1);
    constexpr EngineProcess::Look vpi = [] {
        const ia::LockedBridge bridge(br);
        return std::to_string(bridge->ports[0].vpi);
    };
    EXPECT_EQ(engine.look(vpi), "4294967295");
    EXPECT_EQ(vpi(), "4294967295");
}

TEST_F(Failures, TheStoreRefusesWhatTheEngineTook) {
    EngineProcess engine(path_);
    provision();
    pppoeia_cache_init();  // loses the bridge
    EXPECT_EQ(pppoeia_bridge_vendor_set(br, "OTHER"), -2);
    EXPECT_EQ(engine.look(vendor), "OTHER");
}

// --- several at once ----------------------------------------------------------------------

TEST_F(Failures, CallsFromSeveralThreads) {
    constexpr std::uint32_t threads = 4;
    EngineProcess engine(path_);
    const pppoeia_port_info info = port_kind("eth");
    ASSERT_EQ(pppoeia_init(), 0);
    ASSERT_EQ(pppoeia_bridge_add(br, threads + 1), 0);
    std::vector<std::thread> callers;
    for (std::uint32_t port = 1; port <= threads; ++port) {
        callers.emplace_back([&info, port] {
            EXPECT_EQ(pppoeia_port_add(br, port, "dev", "p", &info), 0);
            for (int state = 0; state < 200; ++state) {
                EXPECT_EQ(pppoeia_port_state_set(br, port, state), 0);
                std::uint32_t stored = 0;
                EXPECT_EQ(pppoeia_port_state_get(br, port, &stored), 0);
                EXPECT_EQ(stored, static_cast<std::uint32_t>(state));
            }
        });
    }
    for (std::thread &caller : callers) caller.join();
    EXPECT_EQ(engine.look([] {
        std::string states;
        const ia::LockedBridge bridge(br);
        for (const pppoeia_port &port : bridge->ports) states += std::to_string(port.state) + " ";
        return states;
    }),
              "199 199 199 199 0 ");
}

TEST_F(Failures, AForkedCallerHasAConnectionOfItsOwn) {
    EngineProcess engine(path_);
    provision();
    const pid_t child = fork();
    if (child == 0) {
        int wrong = 0;
        for (int i = 0; i < 200; ++i) wrong += pppoeia_port_state_set(br, 7, 1) != -19;
        _exit(wrong != 0);
    }
    for (int i = 0; i < 200; ++i) EXPECT_EQ(pppoeia_bridge_vendor_set(br, "ACME"), 0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
