#include "ctl/live.h"

#include "ctl/screen.h"

#include <poll.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>

namespace ia::ctl {

namespace {

volatile std::sig_atomic_t interrupted = 0;

constexpr char ctrl_c = 3;

winsize terminal_size() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row < 2) size.ws_row = 24;
    return size;
}

// Switches off line wrapping.
constexpr char no_wrap[] = "\033[?7l";
constexpr char wrap[] = "\033[?7h";

void catch_signals() {
    struct sigaction action {};
    action.sa_handler = [](int) { interrupted = 1; };
    for (const int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
}

}  // namespace

Live::Live(bool plain) : redraws_(!plain && on_terminal()) {
    catch_signals();
    termios now{};
    if (!redraws_ || tcgetattr(STDIN_FILENO, &now) != 0) return;
    before_ = now;
    now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
    tcsetattr(STDIN_FILENO, TCSANOW, &now);
}

Live::~Live() {
    if (before_) tcsetattr(STDIN_FILENO, TCSANOW, &*before_);
}

void Live::show(const std::string &text) {
    std::string out;
    const winsize size = terminal_size();
    if (redraws_ && lines_ > 0) {
        const bool as_before = size.ws_row == size_.ws_row && size.ws_col == size_.ws_col;
        out = as_before ? "\033[" + std::to_string(lines_) + "A" : "\033[H\033[2J";
    }
    size_ = size;
    if (redraws_) out += no_wrap;
    // Lines beyond the screen cannot be overwritten.
    const std::size_t most = redraws_ ? size.ws_row - 1U : text.size();
    lines_ = 0;
    for (std::size_t at = 0; at < text.size() && lines_ < most; ++lines_) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        out += text.substr(at, end - at) + (redraws_ ? "\033[K\n" : "\n");
        at = end + 1;
    }
    if (redraws_) out += std::string("\033[J") + wrap;
    std::fputs(out.c_str(), stdout);
    std::fflush(stdout);
}

bool Live::left_within(int milliseconds) const {
    pollfd keys{before_ ? STDIN_FILENO : -1, POLLIN, 0};
    const int ready = poll(&keys, 1, milliseconds);
    if (interrupted || (ready < 0 && errno != EINTR)) return true;
    char key = 0;
    if (ready <= 0 || read(STDIN_FILENO, &key, 1) != 1) return ready > 0;
    return key == 'q' || key == 'Q' || key == ctrl_c;
}

}  // namespace ia::ctl
