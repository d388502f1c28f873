// The forwarding-engine process: `pppoeia-fe --node FILE [--check]` and
// `pppoeia-fe --release`.
#pragma once

namespace ia {

// Runs in the foreground until SIGTERM or SIGINT. Returns the exit status: 0,
// 1 when something failed, 2 for a wrong command line or a bad description.
int fe_process(int argc, char **argv);

}  // namespace ia
