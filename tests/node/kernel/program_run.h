// A filter program run on a frame without a device: what it makes of it, and the
// time that takes.
#pragma once

#include "node/kernel/filter.h"
#include "tests/node/kernel/network.h"

namespace ia::node::test {

struct ProgramRun {
    int verdict = 0;  // TC_ACT_*
    Bytes frame;      // as the program leaves it
    double ns = 0;
};

// As if the frame came to the device of that index, which must exist.
ProgramRun run_program(const Filter &filter, Hook hook, int device, const Bytes &frame);

}  // namespace ia::node::test
