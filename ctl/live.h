// A screen that is refreshed until the operator presses q or Ctrl-C.
#pragma once

#include <sys/ioctl.h>
#include <termios.h>
#include <optional>
#include <string>

namespace ia::ctl {

// On a terminal, each screen replaces the previous one and keys are read at once;
// the destructor restores the terminal. Elsewhere, or with `plain`, screens are
// written one after the other.
class Live {
public:
    explicit Live(bool plain);
    ~Live();
    Live(const Live &) = delete;
    Live &operator=(const Live &) = delete;

    void show(const std::string &text);

    // Waits; returns true as soon as the operator wants to leave.
    bool left_within(int milliseconds) const;

private:
    const bool redraws_;
    std::size_t lines_ = 0;  // of the last screen
    winsize size_{};         // of the terminal at that time
    std::optional<termios> before_;
};

}  // namespace ia::ctl
