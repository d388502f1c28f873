// A screen that goes on until the operator leaves: q or Ctrl-C.
#pragma once

#include <sys/ioctl.h>
#include <termios.h>
#include <optional>
#include <string>

namespace ia::ctl {

// On a terminal, what is shown replaces what was shown before, and keys are read
// as they come; the terminal is as it was at the end. Elsewhere, or `plain`,
// everything is written one after the other.
class Live {
public:
    explicit Live(bool plain);
    ~Live();
    Live(const Live &) = delete;
    Live &operator=(const Live &) = delete;

    void show(const std::string &text);

    // Waits; true as soon as the operator wants to leave.
    bool left_within(int milliseconds) const;

private:
    const bool redraws_;
    std::size_t lines_ = 0;  // shown last
    winsize size_{};         // of the screen then
    std::optional<termios> before_;
};

}  // namespace ia::ctl
