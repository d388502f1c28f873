// Text for people: aligned, and fitted to the terminal's width if there is one.
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
    int useful = 0;      // 1 is narrowed first, then 2; 0 never
};

// Prints rows (a JSON array of objects) under their titles. If they are wider than
// `width`, the least useful columns are truncated with "...", then left out. IDs
// are never truncated.
std::string table(const std::vector<Column> &columns, const Json &rows, std::size_t width);

// The same, with the terminal's width if there is one.
std::string table(const std::vector<Column> &columns, const Json &rows);

// "name    value" lines.
std::string line(const std::string &name, const std::string &value);
std::string field(const std::string &name, const Json &value);

// A text starting at this column; on a terminal, long text is wrapped to the same
// column.
std::string wrapped(const std::string &text, std::size_t column);

// A value for people: "-" for null and for an empty text.
std::string shown(const Json &value);

enum class Ink { plain, bold, red, yellow, green };

// Coloured on a terminal, unless NO_COLOR is set.
std::string ink(Ink colour, const std::string &text);

bool on_terminal();
std::size_t terminal_width();  // 80 if unknown

// JSON as text, whatever bytes its strings contain; with an indent of -1, on one
// line.
std::string to_text(const Json &value, int indent);

std::string hex_of(const std::string &bytes);  // "01 ab"

// Makes foreign text safe for a terminal: control characters, characters that
// change the direction of writing, and invalid UTF-8 become "\x1b", "\n" and the
// like.
std::string printable(std::string_view text);

// The same for a text of several lines; line ends and tabs stay.
std::string printable_lines(std::string_view text);

}  // namespace ia::ctl
