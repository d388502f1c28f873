// Settings as text: TOML with one setting a line, so that a faulty line costs only
// its own setting.
#pragma once

#include "node/settings/settings.h"

#include <string>
#include <string_view>

#pragma GCC visibility push(default)

namespace ia::node {

// The present settings, one a line; equal settings give equal texts.
std::string write_settings(const Settings &settings);

// The settings of a text of any size. A faulty line costs its setting, or its
// section when it identifies the section's object.
struct ReadSettings {
    Settings settings;
    std::string problems;  // "FILE:LINE: text" for each faulty line
};
ReadSettings read_settings(std::string_view text, const std::string &file);

// The settings in a file; none when there is no such file. Throws DescriptionError
// when it cannot be read at all.
ReadSettings read_settings_file(const std::string &file);

// The settings that a file can hold, as it will be read.
struct Keepable {
    Settings settings;
    std::string text;
    std::string left_out;  // the reasons for the others; empty: none left out
};
Keepable keepable(const Settings &settings);

// The differences of two sets of settings: "- " lines of the first, "+ " lines of
// the second, below their section's name.
std::string difference_text(const Settings &from, const Settings &to);

}  // namespace ia::node

#pragma GCC visibility pop
