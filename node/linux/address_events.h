// Whether the kernel's devices or addresses have changed (rtnetlink(7)).
#pragma once

#include "node/descriptor.h"

namespace ia::node {

// Of the network namespace it was made in.
class AddressEvents {
public:
    AddressEvents();

    // Whether there was any change since the last call, or since this was made.
    // One system call as long as there is none. Always true when the kernel
    // does not tell.
    bool any();

private:
    Descriptor notices_;
};

}  // namespace ia::node
