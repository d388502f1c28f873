// The listening socket of a server, and its claim to the path.
#pragma once

#include "node/ippc/fd.h"

#include <string>

namespace ia::node {

// Holds the lock file "<path>.lock" during its lifetime; the kernel releases the
// lock however the process ends. A socket file without a held lock therefore
// belongs to a dead server and is replaced, without a race. The destructor removes
// both files.
class ServerSocket {
public:
    // Binds and listens; only the socket's owner may connect. Throws
    // std::runtime_error with the reason.
    explicit ServerSocket(std::string path);
    ~ServerSocket();
    ServerSocket(const ServerSocket &) = delete;
    ServerSocket &operator=(const ServerSocket &) = delete;

    int get() const { return socket_.get(); }
    const std::string &path() const { return path_; }

private:
    std::string path_;
    Fd lock_;
    Fd socket_;
};

}  // namespace ia::node
