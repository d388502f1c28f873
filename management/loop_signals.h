// Signals as a source of the loop.
#pragma once

#include "management/event_loop.h"
#include "node/descriptor.h"

#include <csignal>
#include <functional>

namespace ia {

// Passes each signal of the set to `arrived`. The signals are blocked in every
// thread.
class LoopSignals {
public:
    LoopSignals(EventLoop &loop, const sigset_t &blocked, std::function<void(int)> arrived);
    LoopSignals(const LoopSignals &) = delete;
    LoopSignals &operator=(const LoopSignals &) = delete;

private:
    node::Descriptor signals_;
    EventLoop::Source source_;
};

}  // namespace ia
