// Commands from a file, one a line.
#pragma once

#include "ctl/arguments.h"

#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace ia::ctl {

// The words of a line, quoted as for a shell: 'as it stands', "with \" and \\",
// \ before one character; # begins a comment. Throws std::runtime_error for a
// quote that does not end.
std::vector<std::string> split_line(const std::string &line);

struct Batch {
    std::string name;         // of the file, for errors: "name:line: ..."
    bool keep_going = false;  // after a command that fails

    // Runs one command; returns its status and complains itself, at this place.
    std::function<Status(const std::vector<std::string> &words, const std::string &place)> run;
    std::function<void(const std::string &place, const std::string &fault)> complain;
};

// The highest status of all. Lines without a word are passed over.
Status run_batch(std::istream &commands, const Batch &batch);

}  // namespace ia::ctl
