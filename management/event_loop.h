// The loop of a thread: it waits for descriptors, for times, and for what other
// threads ask of it, and acts on one after the other.
#pragma once

#include "node/descriptor.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace ia {

// One thread makes it, runs it and ends it, and so its sources and tasks, but for
// Task::ask(). An act may throw: who runs the loop gets that.
class EventLoop {
public:
    using Clock = std::chrono::steady_clock;
    using Act = std::function<void()>;

    // Calls `ready` while the descriptor is as `events` (of epoll) say.
    class Source {
    public:
        Source(EventLoop &loop, int descriptor, std::uint32_t events, Act ready);
        ~Source();
        Source(const Source &) = delete;
        Source &operator=(const Source &) = delete;

    private:
        friend EventLoop;
        EventLoop &loop_;
        const int descriptor_;
        const Act ready_;
    };

    // Something to be done once: at a time, or as soon as somebody asks for it.
    class Task {
    public:
        Task(EventLoop &loop, Act act);
        ~Task();
        Task(const Task &) = delete;
        Task &operator=(const Task &) = delete;

        // Any thread. Asked twice before it begins, it is done once; asked while it is
        // done, once more.
        void ask();

        // Instead of a time told before; what is asked stays. The loop's thread.
        void at(Clock::time_point time);
        void cancel();
        std::optional<Clock::time_point> due() const { return due_; }

    private:
        friend EventLoop;
        EventLoop &loop_;
        const Act act_;
        std::atomic<bool> asked_{false};
        std::optional<Clock::time_point> due_;
    };

    // A test has a clock of its own. Throws std::system_error.
    explicit EventLoop(std::function<Clock::time_point()> now = Clock::now);

    Clock::time_point now() const { return now_(); }

    void run();   // until stop()
    void stop();  // from an act

    // One pass: waits for a source or a task, at most so long, and acts on one of
    // each. Whether there was any.
    bool turn(std::chrono::milliseconds longest);

private:
    Task *first() const;
    void take_asked();

    const std::function<Clock::time_point()> now_;
    node::Descriptor poll_;
    node::Descriptor wake_;  // an event: somebody has asked
    std::vector<Task *> tasks_;
    bool stopped_ = false;
};

}  // namespace ia
