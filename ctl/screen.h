// Text for people: aligned, and within the terminal's width when there is one.
#pragma once

#include "ctl/command.h"

#include <string>
#include <string_view>
#include <vector>

namespace ia::ctl {

struct Column {
    const char *title;
    const char *key;     // of the rows' objects
    bool right = false;  // aligned to the right
    int useful = 0;      // those of 1 give way first, then those of 2; 0 never does
};

// Rows, which are a JSON array of objects, under their titles. Where they are
// wider than `width` the least useful columns are cut, with "..." where something
// is missing, and left out when that is not enough. IDs are never cut.
std::string table(const std::vector<Column> &columns, const Json &rows, std::size_t width);

// Within the terminal's width when there is one.
std::string table(const std::vector<Column> &columns, const Json &rows);

// "name    value" lines.
std::string line(const std::string &name, const std::string &value);
std::string field(const std::string &name, const Json &value);

// The text from this column on; on a terminal it goes on there in the next line
// when it is too long.
std::string wrapped(const std::string &text, std::size_t column);

// A value as people read it: "-" for null and for nothing.
std::string shown(const Json &value);

enum class Ink { plain, bold, red, yellow, green };

// Coloured on a terminal, unless NO_COLOR is set.
std::string ink(Ink colour, const std::string &text);

bool on_terminal();
std::size_t terminal_width();  // 80 when not known

// The JSON as text, whatever bytes its strings hold; an indent of -1 gives a line.
std::string to_text(const Json &value, int indent);

std::string hex_of(const std::string &bytes);  // "01 ab"

// Text that came from elsewhere: control characters, those that turn the direction
// of writing, and bytes that are not UTF-8 become "\x1b", "\n" and the like.
std::string printable(std::string_view text);

// The same for a text of many lines, whose line ends and tabs stay.
std::string printable_lines(std::string_view text);

}  // namespace ia::ctl
