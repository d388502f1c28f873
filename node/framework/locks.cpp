#include "node/framework/locks.h"

#include "platform/bll/BLLManager.h"

#include <algorithm>

namespace ia::node {

FrameworkLock::Holder *FrameworkLock::holder(std::thread::id thread) {
    const auto found = std::find_if(holders_.begin(), holders_.end(),
                                    [&](const Holder &held) { return held.thread == thread; });
    return found == holders_.end() ? nullptr : &*found;
}

template <class Free>
bool FrameworkLock::wait_and_hold(std::unique_lock<std::mutex> &guard, Limit limit, Free free) {
    if (!released_.wait_for(guard, limit, free)) return false;
    holders_.push_back({std::this_thread::get_id(), 1});
    return true;
}

bool FrameworkLock::lock_exclusive(Limit limit) {
    std::unique_lock guard(mutex_);
    if (Holder *const own = holder(std::this_thread::get_id())) {
        if (exclusive_) ++own->depth;
        return exclusive_;
    }
    ++waiting_writers_;
    const bool held = wait_and_hold(guard, limit, [&] { return holders_.empty(); });
    --waiting_writers_;
    if (held)
        exclusive_ = true;
    else
        released_.notify_all();  // wakes readers that waited behind this writer
    return held;
}

bool FrameworkLock::lock_shared(Limit limit) {
    std::unique_lock guard(mutex_);
    if (Holder *const own = holder(std::this_thread::get_id())) {
        ++own->depth;
        return true;
    }
    return wait_and_hold(guard, limit, [&] { return !exclusive_ && waiting_writers_ == 0; });
}

void FrameworkLock::unlock() {
    std::unique_lock guard(mutex_);
    Holder *const own = holder(std::this_thread::get_id());
    if (--own->depth > 0) return;
    *own = holders_.back();
    holders_.pop_back();
    if (!holders_.empty()) return;
    const bool was_exclusive = std::exchange(exclusive_, false);
    released_.notify_all();
    guard.unlock();
    if (was_exclusive && after_exclusive) after_exclusive();
}

FrameworkLock &framework_lock() {
    static FrameworkLock lock;
    return lock;
}

}  // namespace ia::node

BLLManager::exclusiveLock_t::exclusiveLock_t()
    : held_(ia::node::framework_lock().lock_exclusive(ia::node::lock_time_limit)) {}

BLLManager::exclusiveLock_t::~exclusiveLock_t() {
    if (held_) ia::node::framework_lock().unlock();
}

BLLManager::sharedLock_t::sharedLock_t()
    : held_(ia::node::framework_lock().lock_shared(ia::node::lock_time_limit)) {}

BLLManager::sharedLock_t::~sharedLock_t() {
    if (held_) ia::node::framework_lock().unlock();
}
