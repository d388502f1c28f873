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

std::string lock_file(const std::string &path) {
    return path + ".lock";
}

bool is_file_at(const std::string &path, int fd) {
    struct stat open_file {};
    struct stat named {};
    return fstat(fd, &open_file) == 0 && stat(path.c_str(), &named) == 0 &&
           open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

// A server that ends removes the file it has locked. Who then gets the lock of
// that file has nothing, and tries again with the one at the path.
Fd claim(const std::string &path) {
    const std::string file = lock_file(path);
    for (;;) {
        Fd lock(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!lock) fail("cannot open " + file);
        if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno != EWOULDBLOCK) fail("cannot lock " + file);
            throw std::runtime_error("ippc: another server is running at " + path);
        }
        if (is_file_at(file, lock.get())) return lock;
    }
}

// The path is ours: what is there belongs to nobody.
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
    // Nobody can connect before listen, so nobody sees other permissions.
    if (chmod(path.c_str(), 0600) != 0) fail("cannot protect " + path);
    if (listen(fd.get(), SOMAXCONN) != 0) fail("cannot listen at " + path);
    return fd;
}

}  // namespace

ServerSocket::ServerSocket(std::string path) : path_(std::move(path)), lock_(claim(path_)) {
    remove_stale(path_);
    socket_ = listen_at(path_);
}

ServerSocket::~ServerSocket() {
    unlink(path_.c_str());
    unlink(lock_file(path_).c_str());  // while it is locked
}

}  // namespace ia::node
