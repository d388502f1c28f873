// A fair mutex: a thread that releases it while another one waits gets it again
// only after that one. With a plain mutex, a worker under full load would take it
// again before the waiting thread has woken up.
#pragma once

#include <mutex>

namespace ia {

class FairMutex {
public:
    void lock() {
        const std::scoped_lock next(turn_);
        held_.lock();
    }
    void unlock() { held_.unlock(); }

private:
    std::mutex turn_;  // held by the first waiter, who gets `held_` next
    std::mutex held_;
};

}  // namespace ia
