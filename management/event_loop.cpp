#include "management/event_loop.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace ia {

namespace {

using std::chrono::milliseconds;

[[noreturn]] void no_loop(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

EventLoop::Source::Source(EventLoop &loop, int descriptor, std::uint32_t events, Act ready)
    : loop_(loop), descriptor_(descriptor), ready_(std::move(ready)) {
    epoll_event wanted{.events = events, .data = {.ptr = this}};
    if (epoll_ctl(loop_.poll_.get(), EPOLL_CTL_ADD, descriptor_, &wanted) != 0)
        no_loop("epoll_ctl");
}

EventLoop::Source::~Source() {
    epoll_ctl(loop_.poll_.get(), EPOLL_CTL_DEL, descriptor_, nullptr);
}

EventLoop::Task::Task(EventLoop &loop, Act act) : loop_(loop), act_(std::move(act)) {
    loop_.tasks_.push_back(this);
}

EventLoop::Task::~Task() {
    std::erase(loop_.tasks_, this);
}

void EventLoop::Task::ask() {
    if (!asked_.exchange(true)) eventfd_write(loop_.wake_.get(), 1);
}

void EventLoop::Task::at(Clock::time_point time) {
    due_ = time;
}

void EventLoop::Task::cancel() {
    due_.reset();
}

EventLoop::EventLoop(std::function<Clock::time_point()> now)
    : now_(std::move(now)),
      poll_(epoll_create1(EPOLL_CLOEXEC)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    epoll_event asked{.events = EPOLLIN, .data = {.ptr = nullptr}};
    if (!poll_ || !wake_ || epoll_ctl(poll_.get(), EPOLL_CTL_ADD, wake_.get(), &asked) != 0)
        no_loop("event loop");
}

void EventLoop::run() {
    constexpr milliseconds long_wait{60'000};
    while (!stopped_) turn(long_wait);
}

void EventLoop::stop() {
    stopped_ = true;
}

EventLoop::Task *EventLoop::first() const {
    Task *found = nullptr;
    for (Task *task : tasks_)
        if (task->due_ && (!found || *task->due_ < *found->due_)) found = task;
    return found;
}

void EventLoop::take_asked() {
    eventfd_t unused = 0;
    eventfd_read(wake_.get(), &unused);
    for (Task *task : tasks_)
        if (task->asked_.exchange(false)) task->due_ = now();
}

bool EventLoop::turn(milliseconds longest) {
    if (const Task *task = first())
        longest = std::clamp(std::chrono::ceil<milliseconds>(*task->due_ - now()), milliseconds(),
                             longest);
    epoll_event event{};
    const int ready = epoll_wait(poll_.get(), &event, 1, static_cast<int>(longest.count()));
    if (ready < 0 && errno != EINTR) no_loop("epoll_wait");
    if (ready == 1 && !event.data.ptr) take_asked();
    if (ready == 1 && event.data.ptr) {
        const Act act = static_cast<const Source *>(event.data.ptr)->ready_;
        act();  // may destroy its source
    }
    Task *const task = first();
    if (!task || *task->due_ > now()) return ready == 1;
    task->due_.reset();
    task->act_();
    return true;
}

}  // namespace ia
