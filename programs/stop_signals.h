// SIGTERM and SIGINT as an event to wait for.
#pragma once

#include <csignal>

namespace ia {

// Blocks the two signals for this thread and all that it starts later, so make
// it before any other thread. They stay blocked: a second one during the stop
// does not cut it short.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGTERM);
        sigaddset(&signals_, SIGINT);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }

    // Returns when one has arrived, also if that was before the call.
    void wait() const {
        int received;
        sigwait(&signals_, &received);
    }

private:
    sigset_t signals_;
};

}  // namespace ia
