// A socket that speaks bytes, for what a well-behaved caller never sends.
#pragma once

#include "tests/support/datagrams.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace ia::test {

inline sockaddr_un unix_address(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

// A connection; waits two seconds at most for anything.
class RawSocket {
public:
    explicit RawSocket(const std::string &path)
        : fd_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
        const sockaddr_un address = unix_address(path);
        const timeval limit{2, 0};
        setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        if (connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            throw std::runtime_error("cannot connect to " + path + ": " + std::strerror(errno));
    }
    RawSocket(RawSocket &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    ~RawSocket() {
        if (fd_ >= 0) close(fd_);
    }

    int fd() const { return fd_; }

    bool send(const Bytes &message) const {
        return ::send(fd_, message.data(), message.size(), MSG_NOSIGNAL) >= 0;
    }
    // What is sent next by the other side; empty when it closed or nothing came.
    Bytes receive() const {
        Bytes bytes(70000);
        const ssize_t length = recv(fd_, bytes.data(), bytes.size(), 0);
        bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return bytes;
    }
    Bytes exchange(const Bytes &message) const { return send(message) ? receive() : Bytes{}; }

private:
    int fd_;
};

}  // namespace ia::test
