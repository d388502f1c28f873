// One engine in a network namespace: a lock file that the kernel frees when the
// process ends, however it ends.
#pragma once

#include "node/descriptor.h"

#include <string>

namespace ia::node {

// In /run/pppoeia, which root makes if it is missing. Links planted there are
// refused, so is a folder that others may write to.
class EngineLock {
public:
    // Throws std::runtime_error when another engine runs, and std::system_error
    // with the path when the file cannot be had.
    EngineLock();
    ~EngineLock();
    EngineLock(const EngineLock &) = delete;
    EngineLock &operator=(const EngineLock &) = delete;

private:
    bool take();

    Descriptor folder_;
    std::string name_;
    Descriptor file_;
};

}  // namespace ia::node
