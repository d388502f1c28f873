#include "programs/sd_notify.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// The service manager's end. `name` is as the socket has it: an abstract one
// begins with a zero byte.
class Manager {
public:
    explicit Manager(const std::string &name) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, name.size());
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr *>(&address), length), 0);
    }
    ~Manager() {
        close(socket_);
        unsetenv("NOTIFY_SOCKET");
    }
    Manager(const Manager &) = delete;
    Manager &operator=(const Manager &) = delete;

    std::string received() const {
        char text[64];
        const ssize_t size = recv(socket_, text, sizeof text, MSG_DONTWAIT);
        return size < 0 ? "nothing" : std::string(text, static_cast<std::size_t>(size));
    }

private:
    int socket_;
};

void ready_then_stopping(const Manager &manager) {
    {
        const ia::ServiceReady ready;
        EXPECT_EQ(manager.received(), "READY=1");
    }
    EXPECT_EQ(manager.received(), "STOPPING=1");
    EXPECT_EQ(manager.received(), "nothing");
}

TEST(SdNotify, reaches_a_path) {
    const std::string path = "/tmp/sd-notify-test-" + std::to_string(getpid());
    {
        const Manager manager(path);
        setenv("NOTIFY_SOCKET", path.c_str(), 1);
        ready_then_stopping(manager);
    }
    unlink(path.c_str());
}

TEST(SdNotify, reaches_an_abstract_name) {
    const std::string name = "sd-notify-test-" + std::to_string(getpid());
    const Manager manager('\0' + name);
    setenv("NOTIFY_SOCKET", ('@' + name).c_str(), 1);
    ready_then_stopping(manager);
}

// The longest path there is room for, and names that cannot be a socket's.
TEST(SdNotify, survives_odd_names) {
    for (const std::string &name : {std::string(), std::string("relative"),
                                    '/' + std::string(107, 'x'), '/' + std::string(4000, 'x')}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        ia::sd_notify("READY=1");
    }
    unsetenv("NOTIFY_SOCKET");
    ia::sd_notify("READY=1");
}

}  // namespace
