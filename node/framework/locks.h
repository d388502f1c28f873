// The framework's lock: shared or exclusive, recursive per thread, with a time
// limit.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ia::node {

// A waiting writer blocks new readers, so that it does not starve; a thread that
// already holds the lock is never blocked. Each successful lock is released once,
// by the same thread, in any order.
class FrameworkLock {
public:
    using Limit = std::chrono::milliseconds;

    bool lock_exclusive(Limit limit);  // fails at once if the thread holds it shared
    bool lock_shared(Limit limit);
    void unlock();

    // Called after each release of the exclusive lock, on the releasing thread:
    // something may have changed. Set before any thread uses the lock.
    std::function<void()> after_exclusive;

private:
    struct Holder {
        std::thread::id thread;
        unsigned depth;
    };

    Holder *holder(std::thread::id thread);
    template <class Free>
    bool wait_and_hold(std::unique_lock<std::mutex> &guard, Limit limit, Free free);

    std::mutex mutex_;
    std::condition_variable released_;
    std::vector<Holder> holders_;  // one, when exclusive
    bool exclusive_ = false;
    unsigned waiting_writers_ = 0;
};

// The lock behind BLLManager's two lock objects, and how long these wait.
FrameworkLock &framework_lock();
inline std::atomic<FrameworkLock::Limit> lock_time_limit{std::chrono::seconds(5)};

}  // namespace ia::node
