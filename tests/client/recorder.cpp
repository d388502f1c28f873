#include "tests/client/recorder.h"

#include "tests/support/raw_socket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <array>

namespace ia::test {

Recorder::Recorder(const std::string &path)
    : listener_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)), stop_(eventfd(0, EFD_CLOEXEC)) {
    const sockaddr_un address = unix_address(path);
    if (bind(listener_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener_, 8) != 0)
        throw std::runtime_error("cannot listen at " + path);
    thread_ = std::thread([this] { run(); });
}

Recorder::~Recorder() {
    eventfd_write(stop_, 1);
    thread_.join();
    close(stop_);
    close(listener_);
}

Bytes Recorder::take() {
    const std::scoped_lock lock(lock_);
    return std::exchange(last_, {});
}

// One connection is enough: a client keeps it.
void Recorder::run() {
    std::array<pollfd, 3> fds{pollfd{stop_, POLLIN, 0}, pollfd{listener_, POLLIN, 0},
                              pollfd{-1, POLLIN, 0}};
    while (poll(fds.data(), fds.size(), -1) > 0 && fds[0].revents == 0) {
        if (fds[1].revents != 0) fds[2].fd = accept(listener_, nullptr, nullptr);
        if (fds[2].revents == 0) continue;
        Bytes bytes(70000);
        const ssize_t length = recv(fds[2].fd, bytes.data(), bytes.size(), 0);
        bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        {
            const std::scoped_lock lock(lock_);
            last_ = bytes;
        }
        const Bytes answer = hex("01 02 0000 01000000");
        send(fds[2].fd, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
    if (fds[2].fd >= 0) close(fds[2].fd);
}

}  // namespace ia::test
