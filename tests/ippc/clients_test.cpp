// Many callers, and those that would hold up the others if they could.
#include "tests/ippc/echo_server.h"
#include "tests/support/raw_socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

using namespace ia::test;

namespace {

const Bytes request = hex("0101 0100 01000000 0100 0000 01000000 29");
const std::string reply = "010200002a000000";

class Clients : public testing::Test {
protected:
    TempDir dir_;
    EchoServer server_{dir_ / "main"};

    std::vector<RawSocket> connect(int count) const {
        std::vector<RawSocket> clients;
        for (int i = 0; i < count; ++i) clients.emplace_back(server_.path);
        return clients;
    }

    // The times that calls take, sorted.
    static std::vector<double> round_trips_us(const RawSocket &client, int count = 2000) {
        std::vector<double> times;
        for (int i = 0; i < count; ++i) {
            const auto before = std::chrono::steady_clock::now();
            EXPECT_EQ(to_hex(client.exchange(request)), reply);
            times.push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - before)
                    .count());
        }
        std::ranges::sort(times);
        return times;
    }
};

TEST_F(Clients, AHundredAndFiftyAtOnce) {
    const auto clients = connect(150);
    for (int round = 0; round < 3; ++round) {
        for (const RawSocket &client : clients) ASSERT_TRUE(client.send(request));
        for (const RawSocket &client : clients) EXPECT_EQ(to_hex(client.receive()), reply);
    }
    EXPECT_EQ(server_.calls, 450);
}

// Sends until it would have to wait: the server has stopped reading it.
int fill(const RawSocket &client) {
    int sent = 0;
    while (send(client.fd(), request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
        ++sent;
    return sent;
}

TEST_F(Clients, OneThatDoesNotReadKeepsItsTurnAndGetsAllReplies) {
    const auto clients = connect(2);
    // Room at both ends fills up; each further round trip of the other client
    // shows that the server still runs, and gives it time to take requests.
    int sent = 0;
    for (int quiet = 0; quiet < 20;) {
        const int more = fill(clients[0]);
        sent += more;
        quiet = more == 0 ? quiet + 1 : 0;
        ASSERT_EQ(to_hex(clients[1].exchange(request)), reply);
    }
    ASSERT_GT(sent, 100);
    for (int i = 0; i < sent; ++i) ASSERT_EQ(to_hex(clients[0].receive()), reply) << i;
    EXPECT_EQ(to_hex(clients[0].exchange(request)), reply);
    // From then on the server waits, and does not spin.
    const std::clock_t before = std::clock();  // of the processor
    poll(nullptr, 0, 300);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 100);
}

TEST_F(Clients, TheOthersDoNotNotice) {
    auto clients = connect(100);
    const RawSocket &working = clients.front();
    round_trips_us(working, 200);  // warm
    const auto before = round_trips_us(working);
    fill(clients[1]);                                                   // never reads
    ASSERT_TRUE(clients[2].send(hex("01")));                            // a byte now and then
    ASSERT_TRUE(clients[3].send(hex("0101 0100 01000000 0100 0000")));  // half a request
    std::jthread dripping([&](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            clients[2].send(hex("01"));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));  // its own pace
        }
    });
    const auto after = round_trips_us(working);
    const auto at = [](const std::vector<double> &sorted, double share) {
        return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
    };
    for (const auto &[name, share] : {std::pair{"p50", 0.50}, {"p99", 0.99}}) {
        std::printf("%s: %.1f us, with the three %.1f us\n", name, at(before, share),
                    at(after, share));
        EXPECT_LT(at(after, share), 10 * at(before, share) + 1000) << name;
    }
}

TEST_F(Clients, OneThatLeavesInTheMiddle) {
    for (int i = 0; i < 50; ++i) ASSERT_TRUE(connect(1)[0].send(request));
    EXPECT_EQ(to_hex(connect(1)[0].exchange(request)), reply);
}

TEST_F(Clients, OutOfDescriptorsItGoesOnAndTakesTheNextLater) {
    auto working = connect(1);
    EXPECT_EQ(to_hex(working[0].exchange(request)), reply);
    auto more = connect(3);
    for (const RawSocket &client : more) EXPECT_EQ(to_hex(client.exchange(request)), reply);
    const RawSocket waiting = [&] {
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(next);
        rlimit now = before;
        now.rlim_cur = static_cast<rlim_t>(next) + 1;  // this end's descriptor, not the server's
        setrlimit(RLIMIT_NOFILE, &now);
        RawSocket socket(server_.path);
        EXPECT_EQ(to_hex(working[0].exchange(request)), reply);
        while (server_.warnings.all().empty()) std::this_thread::yield();
        EXPECT_EQ(to_hex(working[0].exchange(request)), reply);
        setrlimit(RLIMIT_NOFILE, &before);
        return socket;
    }();
    EXPECT_EQ(to_hex(waiting.exchange(request)), reply);
    EXPECT_EQ(server_.warnings.all()[0], "ippc: cannot accept connections: Too many open files");
}

}  // namespace
