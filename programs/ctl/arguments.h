// The operator's tool: its commands.
#pragma once

namespace ia::ctl {

// Exit statuses: 0 done, 1 refused, 2 wrong command line, 3 the agent cannot be
// reached.
enum Status { done = 0, refused = 1, usage = 2, unreachable = 3 };

int run(int argc, char **argv);

}  // namespace ia::ctl
