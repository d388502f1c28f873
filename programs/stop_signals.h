// The signals that a process of the node waits for.
#pragma once

#include <csignal>

namespace ia {

// Blocks the signals for this thread and all that it starts later, so make it
// before any other thread. They stay blocked: a second one during the stop does
// not cut it short.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&signals_);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGUSR1}) sigaddset(&signals_, signal);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }

    // Returns when SIGTERM or SIGINT has arrived, also if that was before the
    // call. Each SIGHUP and SIGUSR1 until then is handed to `act`.
    template <class Act>
    void wait(Act act) const {
        int received = 0;
        while (sigwait(&signals_, &received) == 0 && received != SIGTERM && received != SIGINT)
            act(received);
    }
    void wait() const {
        wait([](int) {});
    }

private:
    sigset_t signals_;
};

}  // namespace ia
