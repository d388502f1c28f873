// The listening socket of a server, and its claim to the path.
#pragma once

#include "node/ippc/fd.h"

#include <string>

namespace ia::node {

// Holds the lock file "<path>.lock" as long as it lives; the kernel frees it
// however the process ends. So a socket file that is there while the lock is
// free was left by a dead server and is replaced, without any race. Both files
// go with this object.
class ServerSocket {
public:
    // Binds and listens; only the socket's owner may connect. Throws
    // std::runtime_error saying what is in the way.
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
