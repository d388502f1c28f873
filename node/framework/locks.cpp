#include "node/framework/locks.h"

#include "platform/bll/BLLManager.h"

#include <algorithm>

namespace ia::node {

FrameworkLock::Holder *FrameworkLock::holder(std::thread::id thread) {
    const auto found = std::find_if(holders.begin(), holders.end(),
                                    [&](const Holder &held) { return held.thread == thread; });
    return found == holders.end() ? nullptr : &*found;
}

template <class Free>
bool FrameworkLock::wait_and_hold(std::unique_lock<std::mutex> &guard, Limit limit, Free free) {
    if (!released.wait_for(guard, limit, free)) return false;
    holders.push_back({std::this_thread::get_id(), 1});
    return true;
}

bool FrameworkLock::lock_exclusive(Limit limit) {
    std::unique_lock guard(mutex);
    if (Holder *const own = holder(std::this_thread::get_id())) {
        if (exclusive) ++own->depth;
        return exclusive;
    }
    ++waiting_writers;
    const bool held = wait_and_hold(guard, limit, [&] { return holders.empty(); });
    --waiting_writers;
    if (held)
        exclusive = true;
    else
        released.notify_all();  // the readers that it kept out
    return held;
}

bool FrameworkLock::lock_shared(Limit limit) {
    std::unique_lock guard(mutex);
    if (Holder *const own = holder(std::this_thread::get_id())) {
        ++own->depth;
        return true;
    }
    return wait_and_hold(guard, limit, [&] { return !exclusive && waiting_writers == 0; });
}

void FrameworkLock::unlock() {
    std::unique_lock guard(mutex);
    Holder *const own = holder(std::this_thread::get_id());
    if (--own->depth > 0) return;
    *own = holders.back();
    holders.pop_back();
    if (!holders.empty()) return;
    const bool was_exclusive = std::exchange(exclusive, false);
    released.notify_all();
    guard.unlock();
    if (was_exclusive && after_exclusive) after_exclusive();
}

FrameworkLock &framework_lock() {
    static FrameworkLock lock;
    return lock;
}

}  // namespace ia::node

BLLManager::exclusiveLock_t::exclusiveLock_t()
    : held(ia::node::framework_lock().lock_exclusive(ia::node::lock_time_limit)) {}

BLLManager::exclusiveLock_t::~exclusiveLock_t() {
    if (held) ia::node::framework_lock().unlock();
}

BLLManager::sharedLock_t::sharedLock_t()
    : held(ia::node::framework_lock().lock_shared(ia::node::lock_time_limit)) {}

BLLManager::sharedLock_t::~sharedLock_t() {
    if (held) ia::node::framework_lock().unlock();
}
