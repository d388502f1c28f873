// The options of the node's processes.
#pragma once

#include <optional>
#include <string>

namespace ia {

struct CommandLine {
    std::string node;       // file with the node description
    bool check = false;     // read and check only
    bool releases = false;  // the program has --release
    bool release = false;
};

// Fills the options. When there is nothing left to do, help was asked for or
// the command line is wrong, it says so and returns 0 or another number.
std::optional<int> read_command_line(int argc, char **argv, const char *program, const char *what,
                                     CommandLine &options);

}  // namespace ia
