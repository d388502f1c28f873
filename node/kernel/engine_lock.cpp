#include "node/kernel/engine_lock.h"
#include "node/kernel/failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ia::node {
namespace {

constexpr char folder[] = "/run/pppoeia";

int open_folder() {
    return open(folder, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

struct stat status_of(int descriptor, const std::string &what) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) fail(errno, what);
    return status;
}

}  // namespace

EngineLock::EngineLock() : folder_(open_folder()) {
    if (!folder_ && errno == ENOENT) {
        // Others pass through it to the operator's socket, whatever the umask.
        if (mkdir(folder, 0755) == 0)
            chmod(folder, 0755);
        else if (errno != EEXIST)
            fail(errno, folder);
        folder_ = Descriptor(open_folder());
    }
    if (!folder_) fail(errno, folder);
    if (status_of(folder_.get(), folder).st_mode & S_IWOTH)
        throw std::runtime_error(std::string(folder) + ": any user may write to it");
    struct stat space {};
    if (stat("/proc/self/ns/net", &space) != 0) fail(errno, "/proc/self/ns/net");
    name_ = "engine-" + std::to_string(space.st_ino) + ".lock";
    while (!take()) {
    }
}

// False when an engine that ended has just removed the file.
bool EngineLock::take() {
    const std::string path = std::string(folder) + '/' + name_;
    file_ = Descriptor(openat(folder_.get(), name_.c_str(),
                              O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!file_) fail(errno, path);
    const struct stat opened = status_of(file_.get(), path);
    if (!S_ISREG(opened.st_mode) || opened.st_nlink > 1)
        throw std::runtime_error(path + ": not a file of its own");
    if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) fail(errno, path);
        throw std::runtime_error("another forwarding engine runs on this machine: stop it first");
    }
    struct stat named {};
    if (fstatat(folder_.get(), name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) return false;
        fail(errno, path);
    }
    if (named.st_ino != opened.st_ino || named.st_dev != opened.st_dev) return false;
    // Left behind by root's engine, it is the service's to open again.
    const struct stat owner = status_of(folder_.get(), folder);
    if (geteuid() == 0 && fchown(file_.get(), owner.st_uid, owner.st_gid) != 0) fail(errno, path);
    return true;
}

EngineLock::~EngineLock() {
    unlinkat(folder_.get(), name_.c_str(), 0);
}

}  // namespace ia::node
