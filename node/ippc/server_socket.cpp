#include "node/ippc/server_socket.h"

#include "node/ippc/socket_address.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ia::node {

namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), "ippc: " + what);
}

// Whether the path still names the open file.
bool is_current(const Fd &opened, const std::string &path) {
    struct stat held {};
    struct stat named {};
    return fstat(opened.get(), &held) == 0 && stat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

// The previous holder may remove the file between our open and our lock; then the
// lock is worthless and the file is created again.
Fd claim(const std::string &path) {
    const std::string file = path + ".lock";
    for (;;) {
        Fd lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock) fail("cannot open " + file);
        if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) fail("cannot lock " + file);
            throw std::runtime_error("ippc: another server is running at " + path);
        }
        if (is_current(lock, file)) return lock;
    }
}

// We hold the lock, so a file at the path has no owner.
void remove_stale(const std::string &path) {
    struct stat file {};
    if (lstat(path.c_str(), &file) != 0) return;
    if (!S_ISSOCK(file.st_mode))
        throw std::runtime_error("ippc: " + path + " is there and is not a socket");
    if (unlink(path.c_str()) != 0) fail("cannot replace " + path);
}

Fd listen_at(const std::string &path) {
    const auto address = socket_address(path);
    if (!address) throw std::runtime_error("ippc: the path is too long: " + path);
    Fd fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd) fail("cannot make a socket");
    if (bind(fd.get(), reinterpret_cast<const sockaddr *>(&*address), sizeof *address) != 0)
        fail("cannot bind " + path);
    // Nobody can connect before listen(), so the permissions are in place in time.
    if (chmod(path.c_str(), 0600) != 0) fail("cannot protect " + path);
    if (listen(fd.get(), SOMAXCONN) != 0) fail("cannot listen at " + path);
    return fd;
}

}  // namespace

ServerSocket::ServerSocket(std::string path) : path_(std::move(path)), lock_(claim(path_)) {
    remove_stale(path_);
    socket_ = listen_at(path_);
}

// The lock is released after both files are removed.
ServerSocket::~ServerSocket() {
    unlink(path_.c_str());
    unlink((path_ + ".lock").c_str());
}

}  // namespace ia::node
