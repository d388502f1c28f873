// The framework's lock from several threads.
#include "node/framework/locks.h"
#include "platform/bll/BLLManager.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace {

using ia::node::FrameworkLock;
constexpr FrameworkLock::Limit at_once{0};
constexpr FrameworkLock::Limit patient{std::chrono::minutes(1)};

enum class Mode { shared, exclusive };

bool lock(FrameworkLock &lock, Mode mode, FrameworkLock::Limit limit) {
    return mode == Mode::shared ? lock.lock_shared(limit) : lock.lock_exclusive(limit);
}

bool elsewhere(auto &&action) {
    bool result = false;
    std::thread([&] { result = action(); }).join();
    return result;
}

// Whether another thread could have the lock, which it gives back.
bool free_for(FrameworkLock &lock, Mode mode, FrameworkLock::Limit limit = at_once) {
    return elsewhere([&] {
        const bool held = ::lock(lock, mode, limit);
        if (held) lock.unlock();
        return held;
    });
}

struct Combination {
    const char *name;
    std::vector<Mode> taken;  // by one thread, one after the other
    bool last_obtained;
    bool leaves_shared, leaves_exclusive;  // free for another thread meanwhile
};

class Combinations : public testing::TestWithParam<Combination> {};

TEST_P(Combinations, OfOneThread) {
    const Combination &row = GetParam();
    FrameworkLock lock;
    std::vector<bool> obtained;
    for (const Mode mode : row.taken) obtained.push_back(::lock(lock, mode, at_once));
    EXPECT_EQ(obtained.back(), row.last_obtained);
    EXPECT_EQ(free_for(lock, Mode::shared), row.leaves_shared);
    EXPECT_EQ(free_for(lock, Mode::exclusive), row.leaves_exclusive);
    for (const bool held : obtained)
        if (held) lock.unlock();
    EXPECT_TRUE(free_for(lock, Mode::exclusive)) << "everything was given back";
}

constexpr Mode s = Mode::shared, x = Mode::exclusive;
INSTANTIATE_TEST_SUITE_P(
    Table, Combinations,
    testing::Values(Combination{"shared", {s}, true, true, false},
                    Combination{"exclusive", {x}, true, false, false},
                    Combination{"shared_again", {s, s}, true, true, false},
                    Combination{"exclusive_again", {x, x}, true, false, false},
                    Combination{"shared_under_exclusive", {x, s, s}, true, false, false},
                    Combination{"exclusive_under_shared_fails", {s, x}, false, true, false}),
    [](const auto &row) { return row.param.name; });

TEST(FrameworkLock, WaitingWriterKeepsNewReadersOutButNotTheReaderItWaitsFor) {
    FrameworkLock lock;
    ASSERT_TRUE(lock.lock_shared(at_once));
    bool written = false;
    std::thread writer([&] {
        written = lock.lock_exclusive(patient);
        if (written) lock.unlock();
    });
    while (free_for(lock, Mode::shared)) std::this_thread::yield();  // until the writer waits
    EXPECT_TRUE(lock.lock_shared(at_once));
    lock.unlock();
    lock.unlock();
    writer.join();
    EXPECT_TRUE(written);
}

TEST(FrameworkLock, WriterThatGivesUpLetsTheReadersInThatItKeptOut) {
    using std::chrono::milliseconds;
    FrameworkLock lock;
    ASSERT_TRUE(lock.lock_shared(at_once));
    std::atomic<bool> gave_up = false;
    std::thread writer([&] { gave_up = !lock.lock_exclusive(milliseconds(300)); });
    while (!gave_up && free_for(lock, Mode::shared)) std::this_thread::yield();  // until it waits
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(free_for(lock, Mode::shared, milliseconds(10000)));
    EXPECT_LT(std::chrono::steady_clock::now() - before, milliseconds(9000)) << "it was not woken";
    writer.join();
    EXPECT_TRUE(gave_up);
}

TEST(FrameworkLock, WritersAreAloneAndReadersSeeNoHalfWrittenPair) {
    FrameworkLock lock;
    int first = 0, second = 0;
    std::atomic<int> torn = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index)
        threads.emplace_back([&, writes = index % 2 == 0] {
            for (int round = 0; round < 500; ++round) {
                EXPECT_TRUE(::lock(lock, writes ? x : s, patient));
                if (writes) {
                    ++first;
                    ++second;
                } else {
                    torn += first != second;
                }
                lock.unlock();
            }
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(first, 1000);
    EXPECT_EQ(torn, 0);
}

TEST(FrameworkLock, LockObjectsReportWhatTheyHold) {
    ia::node::lock_time_limit = at_once;
    {
        const BLLManager::exclusiveLock_t outer;
        const BLLManager::sharedLock_t inner;
        EXPECT_TRUE(outer.owns_lock() && inner.owns_lock());
        EXPECT_FALSE(elsewhere([] { return BLLManager::sharedLock_t().owns_lock(); }));
        EXPECT_FALSE(elsewhere([] { return BLLManager::exclusiveLock_t().owns_lock(); }));
    }
    EXPECT_TRUE(elsewhere([] { return BLLManager::exclusiveLock_t().owns_lock(); }));
}

}  // namespace
