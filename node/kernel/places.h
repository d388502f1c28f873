// Where the filter's programs hang: the clsact qdiscs of devices, read and
// changed over netlink alone, which needs CAP_NET_ADMIN and nothing else.
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
    bool qdisc = false;       // the device's clsact qdisc was made for it
    bool taken_over = false;  // it took the place of an earlier run's
};

// One thread at a time. Errors are std::system_error and name the device.
class Places {
public:
    // Puts the program in front of all others there, over one of an earlier run
    // without a moment between them.
    Attachment attach(Hook hook, int device, const std::string &name, const Program &program);

    // Whether the program is in place and the first to run.
    bool attached(Hook hook, int device, const Program &program);

    // Whether a program of ours, of this run or an earlier one, is in place.
    bool attached_by_anyone(Hook hook, int device);

    // Takes our programs off; the qdisc too when `with_qdisc` and nobody else
    // uses it. Whether there were any. Silent when the device is gone.
    bool detach(int device, bool with_qdisc);

    // The devices with a clsact qdisc.
    std::vector<int> devices();

private:
    struct Entry {
        std::uint32_t priority = 0;
        std::uint32_t handle = 0;
        std::uint32_t program = 0;  // its id; 0: another kind of filter
        std::string name;           // of the program, as it was given
    };
    std::vector<Entry> entries(std::uint32_t parent, int device);  // as they run
    int add_qdisc(int device);
    int put(Hook hook, int device, std::uint32_t priority, std::uint32_t handle,
            const Program &program);
    int remove(std::uint32_t parent, int device, const Entry &entry);

    Netlink kernel_;
};

}  // namespace ia::node
