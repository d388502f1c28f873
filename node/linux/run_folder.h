// The folder of the node's processes below /run, and the claim of one of them
// to be the only one.
#pragma once

#include "node/descriptor.h"

#include <string>

namespace ia {

inline constexpr char run_folder[] = "/run/pppoeia";

// Makes the folder when it is not there. Throws std::runtime_error when it is
// not a folder of root's or of this process's user, or others may write in it.
void make_run_folder(const std::string &folder = run_folder);

// Holds a lock file in the folder, which goes with this object; the kernel frees
// it however the process ends. A link or anything but a file in its place is refused.
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
