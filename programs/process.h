// Common parts of the node's two processes: options, reading the node description,
// exit.
#pragma once

#include "node/description/description.h"

#include <string>

namespace ia {

// Reads the command line and the description and runs `serve`, which returns when
// the process is told to stop. Exit status: 0 success, 1 failure, 2 wrong command
// line or description; the reason goes to standard error. With `release`, the
// option --release runs that function instead, without reading a description.
int run_process(int argc, char **argv, const char *program, const char *what,
                void (*serve)(const node::Description &), void (*release)() = nullptr);

}  // namespace ia
