// The management process: the framework with the agent's entity.
#pragma once

namespace ia {

// Runs it; the result is the exit status.
int mgmt_process(int argc, char **argv);

}  // namespace ia
