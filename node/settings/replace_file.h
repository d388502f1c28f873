// Replaces a file as a whole.
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

// Replaces the file's content: a reader, and the machine after a loss of power
// (unless it only publishes), has either the old file or the new one. The text goes
// to a temporary file under an unpredictable name first; no link is followed.
// Throws std::system_error naming the file, also when something other than a
// regular file is in its place; the old file has then not changed.
void replace_file(const std::string &file, std::string_view text, Purpose purpose = Purpose::keep);

// Removes temporary files that a killed process left beside the file.
void remove_unfinished(const std::string &file);

// The calls that write data to the disk; a test replaces them. Set before a second
// thread exists.
struct DiskCalls {
    int (*sync)(int file);
    int (*rename)(int folder, const char *from, int to_folder, const char *to);
};
extern DiskCalls disk_calls;

}  // namespace ia::node

#pragma GCC visibility pop
