// The node's kernel side on a plain Linux machine: pseudo devices and the
// "pppoe" filter of the Linux bridges, behind the control requests of
// platform/kernel_modules.h.
//
// From construction to destruction no Discovery frame passes a described bridge
// but through the engine: frames are held, which is to say dropped, until the
// filter is attached, and again when the bridge's control file is closed. A
// killed process leaves the programs in place and with them the hold; the next
// one takes all of it over. Only destruction takes everything away.
#pragma once

#include "node/description/description.h"
#include "node/descriptor.h"
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

// One in a process, and one in a network namespace. The control requests find
// it; without it they fail with ENOENT. Any thread may call.
class Kernel {
public:
    // Throws std::system_error or std::runtime_error, naming the device or the
    // place in the description, when the filter cannot be put in place.
    explicit Kernel(const Description &description);
    ~Kernel();
    Kernel(const Kernel &) = delete;
    Kernel &operator=(const Kernel &) = delete;

    // Takes over another description without a moment in which frames pass.
    // Throws as the constructor: a description that is refused changes nothing;
    // where only devices fail, it holds for the others.
    void update(const Description &description);

    // The devices that carry the filter.
    std::vector<PortStatus> ports() const;

    // Discovery frames since construction, by filter_outcome.
    std::array<std::uint64_t, OUTCOME_COUNT> outcomes() const;

    // The control requests: results are 0 (open: a handle) or negative errno
    // values.
    static int open(const char *path);
    static int request(int handle, unsigned long request, void *argument);
    static void close(int handle);

    // Holds or releases a bridge's frames, or those of one port of it
    // (platform/frame_hold.h).
    static int hold(const char *bridge, std::uint32_t port, bool on);

    // Whether a bridge's frames come to the engine (platform/frame_hold.h).
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

    void enlist();
    void delist();
    bool follow(bool verify);
    bool follow_notice(bool verify);
    bool tell(const std::string &trouble);
    void check_pseudo_devices(const std::vector<Link> &links, bool verify);
    void take_over(const std::vector<Link> &links);
    void hold_pseudo(int device);
    void watch();

    // An abstract address: seen in this network namespace alone, and gone with
    // the process however it ends.
    class Claim {
    public:
        Claim();

    private:
        Descriptor socket_;
    };

    Claim claim_;
    LinkEvents events_;
    mutable std::mutex lock_;  // guards all below; the watcher takes it too
    Filter filter_;
    Ports ports_{filter_};
    std::map<std::string, int> pseudo_devices_;  // interface indexes
    std::map<int, Handle> handles_;
    std::string trouble_;  // with the ports or devices, as last told
    std::thread watcher_;
};

}  // namespace ia::node
