// The service host's thread: start, end, interruption.
#include "rte/BLL/core/record.h"
#include "rte/BLL/core/rpcProxy.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <atomic>
#include <chrono>

namespace {

using std::chrono::milliseconds;

void *register_nothing(void *) {
    return nullptr;
}

milliseconds time_of(auto &&action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
}

// Each question waits for the end up to 100 ms; the one that sees it joins.
void wait_for_end(RPCProxy &proxy) {
    while (!proxy.isStopped()) {
    }
}

std::string line(const std::string &text) {
    return "[" + std::to_string(getpid()) + "] BLLManager_mng: " + text + "\n";
}

TEST(RpcProxy, ServiceThreadEndsByItself) {
    RPCProxy proxy(register_nothing, "pppoeia_mng");
    EXPECT_TRUE(proxy.isStopped());
    EXPECT_TRUE(proxy.stop(false));
    ASSERT_TRUE(proxy.start());
    EXPECT_FALSE(proxy.start()) << "not joined";
    wait_for_end(proxy);
    EXPECT_LE(time_of([&] { EXPECT_TRUE(proxy.stop(true)); }), milliseconds(100));
    EXPECT_TRUE(proxy.start());
    EXPECT_TRUE(proxy.stop(false));
}

TEST(RpcProxy, ReceiveLoopNoticesAnInterruptionWithinASecond) {
    testing::internal::CaptureStderr();
    RPCProxy proxy(register_nothing, "BLLManager_mng");
    ASSERT_TRUE(proxy.start());
    EXPECT_FALSE(proxy.isStopped());
    EXPECT_FALSE(proxy.start());
    EXPECT_LE(time_of([&] { EXPECT_TRUE(proxy.stop(false)); }), milliseconds(1500));
    EXPECT_TRUE(proxy.isStopped());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              line("Starting main RPC loop - custom made.") + line("RPC main loop stopping."));
}

TEST(RpcProxy, ReceiveLoopEndsForGoodWhenSelectFails) {
    testing::internal::CaptureStderr();
    const int closed = dup(0);
    close(closed);
    FD_SET(closed, &svc_fdset);
    RPCProxy proxy(register_nothing, "BLLManager_mng");
    ASSERT_TRUE(proxy.start());
    wait_for_end(proxy);
    FD_CLR(closed, &svc_fdset);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              line("Starting main RPC loop - custom made.") +
                  line("RPC main loop stopping (9 - Bad file descriptor)."));
}

std::atomic<int> second_answer;

void *poll_for_interruption(void *check) {
    int (*const interrupted)() = *static_cast<int (**)()>(check);
    while (!interrupted()) boost::this_thread::yield();
    second_answer = interrupted();
    return nullptr;
}

TEST(RpcProxy, ServiceSeesARequestOnce) {
    EXPECT_EQ(checkInterrupt(), 0);
    second_answer = -1;
    RPCProxy proxy(poll_for_interruption, "pppoeia_mng");
    ASSERT_TRUE(proxy.start());
    EXPECT_TRUE(proxy.stop(false));
    EXPECT_EQ(second_answer, 0);
}

std::atomic<RPCProxy *> own_proxy;
std::atomic<int> join_error;

void *join_itself(void *) {
    // Known once start() is done: before, there is no thread to join.
    while (!own_proxy) boost::this_thread::yield();
    try {
        own_proxy.load()->stop(false);
    } catch (const boost::thread_resource_error &error) {
        join_error = error.code().value();
    }
    return nullptr;
}

TEST(RpcProxy, JoiningFromTheServiceThreadIsRefused) {
    RPCProxy proxy(join_itself, "pppoeia_mng");
    ASSERT_TRUE(proxy.start());
    own_proxy = &proxy;
    while (!join_error) boost::this_thread::yield();
    EXPECT_EQ(join_error, 35);
    EXPECT_TRUE(proxy.stop(false));
}

// The first fragment has four bytes, the last one as many as a whole call may have.
TEST(RecordReader, FragmentsTogetherKeepTheLimitOfACall) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const unsigned char bytes[] = {0, 0, 0, 4, 0, 0, 0, 7, 0x80, 0x02, 0, 0};
    ASSERT_EQ(send(ends[1], bytes, sizeof bytes, 0), ssize_t{sizeof bytes});
    ia::RecordReader reader;
    EXPECT_EQ(reader.read(ends[0]), ia::RecordReader::ended);
    for (const int end : ends) close(end);
}

}  // namespace
