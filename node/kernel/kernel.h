// The kernel side of a plain Linux node: pseudo devices and the "pppoe" filter of
// the Linux bridges, controlled by the requests of platform/kernel_modules.h.
//
// From construction on, a Discovery frame crosses a described bridge only through
// the engine. Frames are held, that is dropped, until the filter is attached, and
// again when the bridge's control file is closed. The hold outlives the process:
// however it ends, its programs and netfilter rules stay, and the next process
// takes them over. Only release_node() removes them.
#pragma once

#include "node/description/description.h"
#include "node/kernel/barrier.h"
#include "node/kernel/engine_lock.h"
#include "node/kernel/filter.h"
#include "node/kernel/links.h"
#include "node/kernel/ports.h"

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ia::node {

// One per process and per network namespace. The control requests use it; without
// it they fail with ENOENT. Any thread may call.
class Kernel {
public:
    // Takes the bridges and the devices that will join them from the description,
    // and holds them all; bind() says which device is which port. Throws
    // std::system_error or std::runtime_error naming the device or the place in the
    // description, when the filter cannot be installed. The parts already installed
    // then hold their frames.
    explicit Kernel(const Description &description);
    ~Kernel();
    Kernel(const Kernel &) = delete;
    Kernel &operator=(const Kernel &) = delete;

    // Applies only the limits of another description. Throws std::system_error when
    // the filter could not be set.
    void limit(const Description &description);

    // The devices that carry the filter.
    std::vector<PortStatus> ports() const;

    // Discovery frames since construction, by frame_outcome.
    std::array<std::uint64_t, OUTCOME_COUNT> outcomes() const;

    // The control requests: results are 0 (open: a handle) or negative errno
    // values.
    static int open(const char *path);
    static int request(int handle, unsigned long request, void *argument);
    static void close(int handle);

    // Holds or releases a bridge's frames, or those of one port of it
    // (platform/frame_hold.h).
    static int hold(const char *bridge, std::uint32_t port, bool on);

    // A bridge's ports and the bridge itself (platform/frame_hold.h).
    static int bind(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side);
    static int unbind(const char *bridge, std::uint32_t port);
    static int describe(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                        std::uint32_t max_pdu);

    // The counts of a port's frames (platform/frame_hold.h).
    static int count(const char *bridge, std::uint32_t port, frame_counts &counts);
    static int clear_counts(const char *bridge, std::uint32_t port);

    // Checks that a bridge's frames reach the engine (platform/frame_hold.h).
    static int check(const char *name);

private:
    enum class File { devices, bridging, bridge };
    struct Handle {
        File file;
        std::string bridge;
    };

    int open_file(const std::string &path);
    int answer(int handle, unsigned long request, void *argument);
    int answer_bridge(int handle, unsigned long request, void *argument);
    void close_file(int handle);
    int add_pseudo(const std::string &name);
    int delete_pseudo(const std::string &name);
    int attach(int handle, BridgeState &bridge, const std::string &device);

    // Changes the bridges or their ports, and reports a failure to the caller.
    template <class Change>
    static int change(Change change);

    void enlist();
    void delist();
    std::map<int, std::string>::iterator find_pseudo(const std::string &name);

    void process_notices();
    void look_at_all();
    void apply_notices(const LinkEvents::Change &change, std::vector<std::string> &errors);
    void follow_pseudo(int device);
    void check_pseudo_devices(bool verify);
    void raise_barrier();
    void tell(const std::vector<std::string> &errors);
    void take_over();
    void hold_pseudo(int device);
    void watch();

    EngineLock claim_;
    LinkEvents events_;
    mutable std::mutex lock_;  // guards all below; the watcher takes it too
    Links links_;
    Filter filter_;
    Ports ports_{filter_, links_};
    std::optional<Barrier> barrier_;             // none if the kernel has no netfilter
    Barrier::Rules rules_;                       // in force
    std::map<int, std::string> pseudo_devices_;  // by interface index
    std::map<int, Handle> handles_;
    std::string trouble_;   // last logged trouble with ports or devices
    bool in_order_ = true;  // false: the watcher soon checks everything again
    std::thread watcher_;
};

// Removes everything that engines have installed on this machine: programs, their
// clsact qdiscs unless others use them, pseudo devices, netfilter rules. Returns a
// line for each. Throws std::runtime_error while an engine runs.
std::vector<std::string> release_node();

}  // namespace ia::node
