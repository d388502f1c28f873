// Detects changes of the kernel's devices and addresses (rtnetlink(7)).
#pragma once

#include "node/descriptor.h"

#include <atomic>
#include <cstdint>
#include <thread>

namespace ia::node {

// For the network namespace it was created in. A thread of its own listens, so that
// asking costs no system call.
class AddressEvents {
public:
    AddressEvents();
    ~AddressEvents();
    AddressEvents(const AddressEvents &) = delete;
    AddressEvents &operator=(const AddressEvents &) = delete;

    // Whether there was a change since the last call, or since construction. Always
    // true if the kernel sends no notices. One caller at a time.
    bool any();

private:
    void listen();

    Descriptor notices_;
    Descriptor stop_;
    std::atomic<std::uint32_t> heard_{0};
    std::uint32_t asked_ = 0;
    std::thread listener_;  // none when the kernel does not tell
};

}  // namespace ia::node
