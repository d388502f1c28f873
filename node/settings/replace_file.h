// A file that is replaced whole.
#pragma once

#include <sys/types.h>
#include <string>
#include <string_view>

#pragma GCC visibility push(default)

namespace ia::node {

enum class Purpose {
    keep,     // survives a loss of power; only for users that the umask lets in
    publish,  // for every user to read, and soon to be replaced again
};

// Puts the text in the file's place whole, so that a reader, and the machine
// after a loss of power (unless it only publishes), has either the old file or the
// new one. It is written beside it first, under a name that nobody can guess; no
// link is followed. Throws std::system_error, naming the file, also when there is
// anything but a regular file in its place; the old file is then as it was.
void replace_file(const std::string &file, std::string_view text, Purpose purpose = Purpose::keep);

// Removes what a process that was killed left half written beside the file.
void remove_unfinished(const std::string &file);

// The calls that bring data onto the disk; a test watches them. Set before there
// is a second thread.
struct DiskCalls {
    int (*sync)(int file);
    int (*rename)(int folder, const char *from, int to_folder, const char *to);
};
extern DiskCalls disk_calls;

}  // namespace ia::node

#pragma GCC visibility pop
