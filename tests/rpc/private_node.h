// A network of its own for a test, with its own port mapper: nothing that is
// registered or bound in it meets the machine's services. For root.
#pragma once

#include <gtest/gtest.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>

namespace ia::test {

inline constexpr char rpcbind_program[] = "/usr/sbin/rpcbind";

inline std::string failure(const char *what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// What is missing to make one; empty once the calling process is inside.
inline std::string enter_private_node() {
    if (geteuid() != 0) return "root";
    if (access(rpcbind_program, X_OK) != 0) return rpcbind_program;
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0) return failure("namespaces");
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return failure("mounts");
    if (mount("run", "/run", "tmpfs", 0, nullptr) != 0) return failure("tmpfs");
    return {};
}

inline void bring_loopback_up() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    EXPECT_EQ(ioctl(socket, SIOCSIFFLAGS, &loopback), 0) << std::strerror(errno);
    close(socket);
}

class PortMapper {
public:
    PortMapper() : process(fork()) {
        if (process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execl(rpcbind_program, "rpcbind", "-f", nullptr);
            _exit(127);
        }
        bool answers = false;
        for (int tries = 0; tries < 500 && !answers; ++tries, poll(nullptr, 0, 10))
            answers = accepts();
        EXPECT_TRUE(answers) << "rpcbind does not answer";
    }
    ~PortMapper() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }

private:
    static bool accepts() {
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un address{AF_UNIX, "/run/rpcbind.sock"};
        const bool done =
            connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        close(socket);
        return done;
    }

    const pid_t process;
};

// Skips the test, naming what is missing, unless root tests are required.
class PrivateNode : public testing::Test {
protected:
    void SetUp() override {
        const std::string missing = enter_private_node();
        if (missing.empty()) return;
        if (std::getenv("PPPOEIA_REQUIRE_ROOT_TESTS")) FAIL() << "missing: " << missing;
        GTEST_SKIP() << "missing: " << missing;
    }
};

}  // namespace ia::test
