#include "node/settings/replace_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

namespace ia::node {

DiskCalls disk_calls{fsync, renameat};

namespace {

constexpr char unfinished[] = ".new";

[[noreturn]] void fail(int error, const std::string &what) {
    throw std::system_error(error, std::generic_category(), what);
}

class File {
public:
    File(int folder, const std::string &name, int flags, const std::string &path, mode_t mode = 0)
        : path_(path), number_(openat(folder, name.c_str(), flags | O_CLOEXEC, mode)) {
        if (number_ < 0) fail(errno, path_ + ": cannot be opened");
    }
    ~File() {
        if (number_ >= 0) close(number_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    int number() const { return number_; }

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

    // Waits until the data is on the disk.
    void sync() {
        if (disk_calls.sync(number_) != 0) fail(errno, path_ + ": cannot be stored");
    }

    void finish() {
        if (close(std::exchange(number_, -1)) != 0) fail(errno, path_ + ": cannot be stored");
    }

private:
    const std::string path_;
    int number_;
};

struct Place {
    std::string folder;
    std::string name;
};

Place place_of(const std::string &file) {
    const std::size_t slash = file.rfind('/');
    if (slash == std::string::npos) return {".", file};
    return {file.substr(0, slash + 1), file.substr(slash + 1)};
}

// Fresh files are hidden ones: "settings.toml" is written as ".settings.toml.*.new".
std::string fresh_prefix(const Place &place) {
    return '.' + place.name + '.';
}

std::string fresh_name(const Place &place) {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) fail(errno, "getrandom");
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(number));
    return fresh_prefix(place) + digits + unfinished;
}

void expect_regular(int folder, const Place &place, const std::string &file) {
    struct stat info {};
    if (fstatat(folder, place.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT) return;
        fail(errno, file + ": cannot be looked at");
    }
    if (S_ISLNK(info.st_mode))
        fail(ELOOP, file + ": is a symbolic link, expected a regular file or none");
    if (!S_ISREG(info.st_mode)) fail(EINVAL, file + ": is not a regular file");
}

}  // namespace

void replace_file(const std::string &file, std::string_view text, Purpose purpose) {
    const bool keep = purpose == Purpose::keep;
    const Place place = place_of(file);
    // Works relative to this folder's descriptor, even if its path changes its
    // meaning.
    File folder(AT_FDCWD, place.folder, O_RDONLY | O_DIRECTORY, file);
    expect_regular(folder.number(), place, file);
    const std::string fresh = fresh_name(place);
    File written(folder.number(), fresh, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, file, 0644);
    try {
        written.write(text);
        if (keep)
            written.sync();
        else
            written.show_to_all();
        written.finish();
        if (disk_calls.rename(folder.number(), fresh.c_str(), folder.number(),
                              place.name.c_str()) != 0)
            fail(errno, file + ": cannot be replaced");
    } catch (...) {
        unlinkat(folder.number(), fresh.c_str(), 0);
        throw;
    }
    if (keep) folder.sync();
}

void remove_unfinished(const std::string &file) {
    const Place place = place_of(file);
    const auto close = [](DIR *folder) { closedir(folder); };
    const std::unique_ptr<DIR, decltype(close)> folder{opendir(place.folder.c_str()), close};
    if (!folder) return;
    while (const dirent *entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name.starts_with(fresh_prefix(place)) && name.ends_with(unfinished))
            unlinkat(dirfd(folder.get()), entry->d_name, 0);
    }
}

}  // namespace ia::node
