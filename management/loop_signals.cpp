#include "management/loop_signals.h"

#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace ia {

// The source refuses an invalid descriptor.
LoopSignals::LoopSignals(EventLoop &loop, const sigset_t &blocked, std::function<void(int)> arrived)
    : signals_(signalfd(-1, &blocked, SFD_CLOEXEC | SFD_NONBLOCK)),
      source_(loop, signals_.get(), EPOLLIN, [this, arrived] {
          signalfd_siginfo signal{};
          if (read(signals_.get(), &signal, sizeof signal) == sizeof signal)
              arrived(static_cast<int>(signal.ssi_signo));
      }) {}

}  // namespace ia
