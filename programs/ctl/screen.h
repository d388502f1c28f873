// Text for people: aligned, and within the terminal's width when there is one.
#pragma once

#include "programs/ctl/command.h"

#include <string>
#include <vector>

namespace ia::ctl {

struct Column {
    const char *title;
    const char *key;     // of the rows' objects
    bool right = false;  // aligned to the right
};

// Rows, which are a JSON array of objects, under their titles. On a terminal the
// widest columns give way, with "..." where something is missing.
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

// Text that came from elsewhere, without control characters.
std::string printable(const std::string &text);

}  // namespace ia::ctl
