// The framework's lock: shared and exclusive, each to be taken again by the
// thread that holds it, each given up after a time limit.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ia::node {

// A waiting writer keeps new readers out, so that it is not starved; a thread
// that holds the lock already is never kept out. Every successful lock is
// released once by the same thread, in any order.
class FrameworkLock {
public:
    using Limit = std::chrono::milliseconds;

    bool lock_exclusive(Limit limit);  // fails at once under the thread's own shared lock
    bool lock_shared(Limit limit);
    void unlock();

    // Called, on the thread that gives the exclusive lock back, after it has:
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
