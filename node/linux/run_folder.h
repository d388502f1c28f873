// The folder of the node's processes below /run, and the lock that makes a process
// the only one of its kind.
#pragma once

#include "node/descriptor.h"

#include <string>

namespace ia {

inline constexpr char run_folder[] = "/run/pppoeia";

// Creates a missing folder. Throws std::runtime_error when the folder belongs
// neither to root nor to this process's user, or others may write to it.
void make_run_folder(const std::string &folder = run_folder);

// Holds a lock file in the folder during its lifetime; the kernel frees the lock
// however the process ends. Anything but a regular file in its place is refused.
class OnlyProcess {
public:
    // Throws std::runtime_error naming the process that holds it.
    explicit OnlyProcess(const std::string &program, const std::string &folder = run_folder);
    ~OnlyProcess();
    OnlyProcess(const OnlyProcess &) = delete;
    OnlyProcess &operator=(const OnlyProcess &) = delete;

private:
    void lock(const std::string &program);

    const std::string file_;
    node::Descriptor lock_;
};

}  // namespace ia
