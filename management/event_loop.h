// An event loop: waits for descriptors, times and requests of other threads, and
// runs their handlers one by one.
#pragma once

#include "node/descriptor.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace ia {

// One thread creates, runs and destroys the loop with its sources and tasks; only
// Task::ask() may be called by any thread. An exception of a handler leaves run().
class EventLoop {
public:
    using Clock = std::chrono::steady_clock;
    using Act = std::function<void()>;

    // Calls `ready` while the descriptor has one of `events` (of epoll).
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

    // A function to run once: at a time, or as soon as a thread asks for it.
    class Task {
    public:
        Task(EventLoop &loop, Act act);
        ~Task();
        Task(const Task &) = delete;
        Task &operator=(const Task &) = delete;

        // Any thread. Several requests before the run count as one; one during the run
        // causes another run.
        void ask();

        // Replaces an earlier time; requests stay. On the loop's thread.
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

    // A test supplies its own clock. Throws std::system_error.
    explicit EventLoop(std::function<Clock::time_point()> now = Clock::now);

    Clock::time_point now() const { return now_(); }

    void run();   // until stop()
    void stop();  // called by a handler

    // One pass: waits up to the limit, then runs at most one source and one task.
    // Returns whether it ran any.
    bool turn(std::chrono::milliseconds longest);

private:
    Task *first() const;
    void take_asked();

    const std::function<Clock::time_point()> now_;
    node::Descriptor poll_;
    node::Descriptor wake_;  // an eventfd: a thread has asked
    std::vector<Task *> tasks_;
    bool stopped_ = false;
};

}  // namespace ia
