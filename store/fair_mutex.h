// A mutex that serves in turn: who lets go of it while somebody waits gets it
// again only after him. A worker under full load would otherwise take it again
// before a waiting thread has woken up.
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
    std::mutex turn_;  // of the one who waits for `held_`, and is served next
    std::mutex held_;
};

}  // namespace ia
