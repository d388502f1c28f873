// Whether the kernel's devices or addresses have changed (rtnetlink(7)).
#pragma once

#include "node/descriptor.h"

#include <atomic>
#include <cstdint>
#include <thread>

namespace ia::node {

// Of the network namespace it was made in. A thread of its own listens, so that
// asking costs no system call.
class AddressEvents {
public:
    AddressEvents();
    ~AddressEvents();
    AddressEvents(const AddressEvents &) = delete;
    AddressEvents &operator=(const AddressEvents &) = delete;

    // Whether there was any change since the last call, or since this was made.
    // Always true when the kernel does not tell. One caller at a time.
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
