// The signals that a process of the node waits for.
#pragma once

#include "programs/sd_notify.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

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

    using Clock = std::chrono::steady_clock;

    // Returns when SIGTERM or SIGINT has arrived, also if that was before the
    // call. Each SIGHUP and SIGUSR1 until then is handed to `act`; 0 is, when the
    // time comes that `due` has told. While it waits, the service manager's
    // watchdog hears from it, as long as `alive` says that the other threads work.
    template <class Act, class Due, class Alive>
    void wait(Act act, Due due, Alive alive) const {
        const auto pulse = watchdog_pulse();
        Clock::time_point ping = pulse ? Clock::now() : Clock::time_point::max();
        for (;;) {
            const std::optional<Clock::time_point> time = due();
            const Clock::time_point next_time = std::min(ping, time.value_or(ping));
            const int received = next(pulse || time ? std::optional(next_time) : std::nullopt);
            if (received == SIGTERM || received == SIGINT) return;
            const Clock::time_point now = Clock::now();
            if (pulse && now >= ping) {
                if (alive()) sd_notify("WATCHDOG=1");
                ping = now + *pulse;
            }
            if (received != 0 || (time && now >= *time)) act(received);
        }
    }
    template <class Act, class Alive>
    void wait(Act act, Alive alive) const {
        wait(
            act, [] { return std::optional<Clock::time_point>(); }, alive);
    }

private:
    int next(std::optional<Clock::time_point> due) const {
        using namespace std::chrono;
        timespec limit{};
        if (due) {
            const auto left =
                duration_cast<nanoseconds>(std::max(*due - Clock::now(), Clock::duration()));
            limit.tv_sec = static_cast<time_t>(left.count() / 1'000'000'000);
            limit.tv_nsec = static_cast<long>(left.count() % 1'000'000'000);
        }
        for (;;) {
            const int received = sigtimedwait(&signals_, nullptr, due ? &limit : nullptr);
            if (received > 0) return received;
            if (errno != EINTR) return 0;
        }
    }

    sigset_t signals_;
};

}  // namespace ia
