#include "node/linux/run_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace ia {

namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

bool is_own(const struct stat &file) {
    return file.st_uid == 0 || file.st_uid == geteuid();
}

std::string holder_of(int lock) {
    char text[16] = {};
    const ssize_t size = pread(lock, text, sizeof text - 1, 0);
    return size > 0 ? " (process " + std::string(text) + ")" : "";
}

// Whether the open file is still the one that the path names.
bool is_current(int opened, const std::string &path) {
    struct stat held {};
    struct stat named {};
    return fstat(opened, &held) == 0 && lstat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

void make_run_folder(const std::string &folder) {
    if (mkdir(folder.c_str(), 0750) != 0 && errno != EEXIST) fail(folder + ": cannot be made");
    struct stat found {};
    if (lstat(folder.c_str(), &found) != 0) fail(folder);
    if (!S_ISDIR(found.st_mode) || !is_own(found) || (found.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw std::runtime_error(folder + ": is not a folder that only its owner may write in");
}

OnlyProcess::OnlyProcess(const std::string &program, const std::string &folder)
    : file_(folder + "/" + program + ".lock") {
    make_run_folder(folder);
    // A file that its last holder removed while it was being opened is locked in
    // vain: then it is made anew.
    do lock(program);
    while (!is_current(lock_.get(), file_));
    const std::string self = std::to_string(getpid());
    if (ftruncate(lock_.get(), 0) != 0 ||
        pwrite(lock_.get(), self.data(), self.size(), 0) != static_cast<ssize_t>(self.size()))
        fail(file_ + ": cannot be written");
}

void OnlyProcess::lock(const std::string &program) {
    lock_ = node::Descriptor(
        open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!lock_) fail(file_ + ": cannot be opened");
    struct stat found {};
    if (fstat(lock_.get(), &found) != 0 || !S_ISREG(found.st_mode) || found.st_nlink > 1)
        throw std::runtime_error(file_ + ": is not a file of its own");
    if (flock(lock_.get(), LOCK_EX | LOCK_NB) == 0) return;
    if (errno != EWOULDBLOCK) fail(file_ + ": cannot be locked");
    throw std::runtime_error("another " + program + " runs on this machine" +
                             holder_of(lock_.get()) + ": it goes on, this one ends");
}

// Held until the file is gone.
OnlyProcess::~OnlyProcess() {
    unlink(file_.c_str());
}

}  // namespace ia
