// Attaches the filter's programs to the clsact qdiscs of devices, over netlink
// alone, which needs only CAP_NET_ADMIN.
#pragma once

#include "node/kernel/netlink.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ia::node {

// A place for a program: a direction of a device.
enum class Hook {
    port_in,     // a frame enters by a bridge port
    port_out,    // a frame is about to leave by a bridge port
    pseudo_out,  // the engine sends on the pseudo device
};

// A loaded program.
struct Program {
    int descriptor = -1;
    std::uint32_t id = 0;
};

struct Attachment {
    bool qdisc = false;       // the device's clsact qdisc was created for it
    bool taken_over = false;  // it replaced an earlier run's program
};

// One thread at a time. Errors are std::system_error and name the device.
class Places {
public:
    // Attaches the program in front of all others, replacing one of an earlier run
    // without a gap.
    Attachment attach(Hook hook, int device, const std::string &name, const Program &program);

    // Whether the program is attached and runs first.
    bool attached(Hook hook, int device, const Program &program);

    // Whether a program of ours, of this or an earlier run, is attached.
    bool attached_by_anyone(Hook hook, int device);

    // Detaches our programs, and deletes the qdisc if `with_qdisc` and nobody else
    // uses it. Returns whether there were any. A missing device is no error.
    bool detach(int device, bool with_qdisc);

    // The devices with a clsact qdisc.
    std::vector<int> devices();

private:
    struct Entry {
        std::uint32_t priority = 0;
        std::uint32_t handle = 0;
        std::uint32_t program = 0;  // its id; 0: another kind of filter
        std::string name;           // the program's name
    };
    std::vector<Entry> entries(std::uint32_t parent, int device);  // in the order of running
    int add_qdisc(int device);
    int put(Hook hook, int device, std::uint32_t priority, std::uint32_t handle,
            const Program &program);
    int remove(std::uint32_t parent, int device, const Entry &entry);

    Netlink kernel_;
};

}  // namespace ia::node
