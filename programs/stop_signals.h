// Waits for the signals of the node's processes.
#pragma once

#include "programs/sd_notify.h"

#include <algorithm>
#include <chrono>
#include <csignal>

namespace ia {

// Blocks the signals for this thread and all later ones, so create it before any
// other thread. They stay blocked: a second signal does not cut the stop short.
class StopSignals {
public:
    StopSignals() {
        sigemptyset(&signals_);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals_, signal);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }

    const sigset_t &set() const { return signals_; }
    static bool is_stop(int signal) { return signal == SIGTERM || signal == SIGINT; }

    // For a process whose main thread only waits: returns when SIGTERM or SIGINT
    // has arrived, even before the call. Each SIGHUP until then calls `reload`.
    // Meanwhile it feeds the service manager's watchdog, as long as `alive` returns
    // true.
    template <class Reload, class Alive>
    void wait(Reload reload, Alive alive) const {
        using Clock = std::chrono::steady_clock;
        const auto pulse = watchdog_pulse();
        Clock::time_point ping = Clock::now();
        for (;;) {
            const int received =
                pulse ? next(ping - Clock::now()) : sigwaitinfo(&signals_, nullptr);
            if (is_stop(received)) return;
            if (received == SIGHUP) reload();
            if (!pulse || Clock::now() < ping) continue;
            if (alive()) sd_notify("WATCHDOG=1");
            ping = Clock::now() + *pulse;
        }
    }

private:
    // Below 0 at the time-out.
    int next(std::chrono::nanoseconds limit) const {
        const auto left = std::max(limit, std::chrono::nanoseconds()).count();
        const timespec time{left / 1'000'000'000, left % 1'000'000'000};
        return sigtimedwait(&signals_, nullptr, &time);
    }

    sigset_t signals_;
};

}  // namespace ia
