// What the node's two processes have in common: their options, reading the node
// description, and how they end.
#pragma once

#include "node/description/description.h"

#include <string>

namespace ia {

// Reads the command line and the description and runs `serve`, which returns
// when the process is told to stop. The exit status: 0 done, 1 failed, 2 a wrong
// command line or description; the reason goes to standard error.
// With --release, which it takes if `release` is given, it runs that instead and
// reads nothing.
int run_process(int argc, char **argv, const char *program, const char *what,
                void (*serve)(const node::Description &), void (*release)() = nullptr);

}  // namespace ia
