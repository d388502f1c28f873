// An operator's terminal: a pseudo terminal in raw mode, so that every byte
// comes out as it went in. With it a bridge "br0" with eight port slots.
#pragma once

#include "diag/test_data.h"
#include "pppoeia/pppoeia.h"
#include "tests/support/scripted_node.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>
#include <array>
#include <string>

namespace ia::test {

class OperatorsTerminal : public testing::Test {
protected:
    static constexpr const char *br = "br0";

    void SetUp() override {
        reset_node();
        ASSERT_EQ(fe_pppoeia_init(), 0);
        ASSERT_EQ(fe_pppoeia_bridge_add(br, 8), 0);
        set_test_data({});
        test_debug = false;
        master_ = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_EQ(grantpt(master_), 0);
        ASSERT_EQ(unlockpt(master_), 0);
        std::array<char, 64> name;
        ASSERT_EQ(ptsname_r(master_, name.data(), name.size()), 0);
        path_ = name.data();
        // Held open: a terminal without users forgets its settings.
        slave_ = open(name.data(), O_RDWR | O_NOCTTY);
        termios mode{};
        tcgetattr(slave_, &mode);
        cfmakeraw(&mode);
        tcsetattr(slave_, TCSANOW, &mode);
    }
    void TearDown() override {
        close(slave_);
        close(master_);
        fe_pppoeia_fini();
    }

    const char *tty() const { return path_.c_str(); }

    // What has been written. The writer has returned: it is all there.
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
    int master_ = -1;
    int slave_ = -1;
    std::string path_;
};

}  // namespace ia::test
