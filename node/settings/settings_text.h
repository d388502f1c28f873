// Settings as text: TOML with one setting a line, so that a line that is wrong
// costs no other.
#pragma once

#include "node/settings/settings.h"

#include <string>
#include <string_view>

#pragma GCC visibility push(default)

namespace ia::node {

// The settings that are there, one a line; the same settings give the same text.
std::string write_settings(const Settings &settings);

// The settings of a text of any size. A line that is wrong costs its setting, or its
// section when it says what that is about.
struct ReadSettings {
    Settings settings;
    std::string problems;  // "FILE:LINE: text" for each line that is wrong
};
ReadSettings read_settings(std::string_view text, const std::string &file);

// The settings in a file; none when there is no such file. Throws DescriptionError
// when it cannot be read at all.
ReadSettings read_settings_file(const std::string &file);

// Of some settings, those that a file can hold, as it will be read.
struct Keepable {
    Settings settings;
    std::string text;
    std::string left_out;  // why the others are not among them; empty: there are none
};
Keepable keepable(const Settings &settings);

// The settings in which two differ, "- " before those of the first, "+ " before
// those of the second, below the name of their section.
std::string difference_text(const Settings &from, const Settings &to);

}  // namespace ia::node

#pragma GCC visibility pop
