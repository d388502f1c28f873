// An operator's terminal: a pseudo terminal in raw mode, so that every byte comes out
// as it went in.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>
#include <array>
#include <stdexcept>
#include <string>

namespace ia::test {

class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        std::array<char, 64> name{};
        if (grantpt(master_) != 0 || unlockpt(master_) != 0 ||
            ptsname_r(master_, name.data(), name.size()) != 0)
            throw std::runtime_error("no pseudo terminal");
        path_ = name.data();
        // Held open: a terminal without users forgets its settings.
        slave_ = open(name.data(), O_RDWR | O_NOCTTY);
        termios mode{};
        tcgetattr(slave_, &mode);
        cfmakeraw(&mode);
        tcsetattr(slave_, TCSANOW, &mode);
    }
    ~Terminal() {
        close(slave_);
        close(master_);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    const char *path() const { return path_.c_str(); }

    // What has been written, where the writer has returned: all of it is there.
    std::string written() const {
        std::string all;
        std::array<char, 4096> part;
        pollfd ready{master_, POLLIN, 0};
        while (poll(&ready, 1, 0) == 1) {
            const ssize_t length = read(master_, part.data(), part.size());
            if (length <= 0) break;
            all.append(part.data(), static_cast<std::size_t>(length));
        }
        return all;
    }

private:
    const int master_;
    int slave_ = -1;
    std::string path_;
};

}  // namespace ia::test
