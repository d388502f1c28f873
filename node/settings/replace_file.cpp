#include "node/settings/settings_text.h"

#include <fcntl.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace ia::node {

namespace {

[[noreturn]] void fail(int error, const std::string &what) {
    throw std::system_error(error, std::generic_category(), what);
}

class File {
public:
    File(const std::string &path, int flags, mode_t mode = 0)
        : path_(path), number_(open(path.c_str(), flags | O_CLOEXEC, mode)) {
        if (number_ < 0) fail(errno, path + ": cannot be opened");
    }
    ~File() {
        if (number_ >= 0) close(number_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    void write(std::string_view text) {
        while (!text.empty()) {
            const ssize_t size = ::write(number_, text.data(), text.size());
            if (size < 0 && errno != EINTR) fail(errno, path_ + ": cannot be written");
            if (size > 0) text.remove_prefix(static_cast<std::size_t>(size));
        }
    }

    void show_to_all() {
        if (fchmod(number_, 0644) != 0) fail(errno, path_ + ": cannot be shown to all");
    }

    // On the disk, not only on its way there.
    void sync() {
        if (fsync(number_) != 0) fail(errno, path_ + ": cannot be stored");
    }

    void finish() {
        if (close(std::exchange(number_, -1)) != 0) fail(errno, path_ + ": cannot be stored");
    }

private:
    const std::string path_;
    int number_;
};

// A symbolic link goes on pointing at the file.
std::string target_of(const std::string &file) {
    char *const resolved = realpath(file.c_str(), nullptr);
    if (!resolved) return file;
    std::string target = resolved;
    std::free(resolved);
    return target;
}

std::string folder_of(std::string file) {
    return dirname(file.data());
}

}  // namespace

void replace_file(const std::string &file, std::string_view text, Purpose purpose) {
    const bool keep = purpose == Purpose::keep;
    const std::string target = target_of(file);
    const std::string fresh = target + ".new";  // one that a crash left is overwritten
    try {
        File written(fresh, O_WRONLY | O_CREAT | O_TRUNC, 0644);
        written.write(text);
        if (keep)
            written.sync();
        else
            written.show_to_all();
        written.finish();
        if (rename(fresh.c_str(), target.c_str()) != 0)
            fail(errno, target + ": cannot be replaced");
    } catch (...) {
        unlink(fresh.c_str());
        throw;
    }
    if (keep) File(folder_of(target), O_RDONLY | O_DIRECTORY).sync();
}

}  // namespace ia::node
