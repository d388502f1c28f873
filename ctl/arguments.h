// The commands of the operator's tool.
#pragma once

namespace ia::ctl {

// Exit statuses: 0 done, 1 refused, 2 wrong command line, 3 the agent or its engine
// cannot be reached. Those of `status`: 0 good, 1 warnings, 2 critical, 3 as above.
enum Status {
    done = 0,
    refused = 1,
    usage = 2,
    unreachable = 3,
    node_with_warnings = 1,
    node_in_error = 2,
};

int run(int argc, char **argv);

}  // namespace ia::ctl
