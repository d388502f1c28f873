// Runs commands from a file, one a line.
#pragma once

#include "ctl/arguments.h"

#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace ia::ctl {

// Splits a line into words, quoted as for a shell: 'literal', "with \" and \\", and \ in
// front of one character. # begins a comment. Throws std::runtime_error for an unclosed
// quote.
std::vector<std::string> split_line(const std::string &line);

struct Batch {
    std::string name;         // of the file, for errors: "name:line: ..."
    bool keep_going = false;  // after a command that fails

    // Runs one command, reports its error with this place, and returns its status.
    std::function<Status(const std::vector<std::string> &words, const std::string &place)> run;
    std::function<void(const std::string &place, const std::string &fault)> complain;
};

// Returns the highest status. Skips empty lines.
Status run_batch(std::istream &commands, const Batch &batch);

}  // namespace ia::ctl
