// Settings as TOML, and the file they are kept in.
#pragma once

#include "node/settings/settings.h"

#include <string>
#include <string_view>

#pragma GCC visibility push(default)

namespace ia::node {

// The settings that are there, one a line; the same settings give the same text.
std::string write_settings(const Settings &settings);

// Throws DescriptionError, every line that is wrong in it, as of a file of that
// name.
Settings read_settings(std::string_view text, const std::string &file);

// The settings in a file; none when there is no such file. Throws
// DescriptionError.
Settings read_settings_file(const std::string &file);

enum class Purpose {
    keep,     // survives a loss of power; only for users that the umask lets in
    publish,  // for every user to read, and soon to be replaced again
};

// Puts the text in the file's place whole, so that a reader, and the machine
// after a loss of power (unless it only publishes), has either the old file or the
// new one. Throws std::system_error, naming the file; the old file is then as it
// was.
void replace_file(const std::string &file, std::string_view text, Purpose purpose = Purpose::keep);

}  // namespace ia::node

#pragma GCC visibility pop
