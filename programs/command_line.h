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

// Parses the options. Returns an exit status when the program must end: help was
// asked for (0), or the command line is wrong.
std::optional<int> read_command_line(int argc, char **argv, const char *program, const char *what,
                                     CommandLine &options);

}  // namespace ia
