#include "fe/bridge_runtime.h"

#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "fe/lines.h"
#include "fe/worker.h"
#include "platform/net_device.h"
#include "pppoeia/fe.h"
#include "store/new_bridge.h"

#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

std::int32_t frame_adjust = 0;

namespace ia {

std::mutex lifecycle;

namespace {

constexpr std::uint32_t default_mtu = 1500;
constexpr std::uint32_t default_chassis = 99;
constexpr int no_file = -EMFILE;  // a control file or socket cannot be opened

void announce_frame_adjust() {
    constexpr const char *message = "Frame adjust is %u bytes.";
    const auto shown = [] { return static_cast<unsigned>(frame_adjust); };
    pppoeia_log(3, message, shown());
    if (frame_adjust == 0) {
        frame_adjust = frame_adjust_default;
        pppoeia_log(3, message, shown());
    }
    pppoeia_log(6, message, shown());
}

ControlFile open_bridge(const char *name) {
    char path[200];
    std::snprintf(path, sizeof path, KVBRIDGE_BRIDGE_PATH_FORMAT, name, KVBRIDGE_BRIDGE_FILE);
    ControlFile control(path);
    if (!control.is_open()) pppoeia_log(2, "<%s> Cannot open bridge.", name);
    return control;
}

int attach_filter(const BridgeRuntime &runtime) {
    const pppoeia_bridge &bridge = runtime.bridge;
    kvbridge_filter_req request{};
    copy_text(request.filter, "pppoe");
    copy_text(request.device, bridge.pseudo_dev);
    const int result = runtime.control.request(KVBRIDGE_IOC_FILTER_ATTACH, &request);
    if (result < 0)
        pppoeia_log(2, "<%s> Cannot attach filter to '%s' (rv=%d, errno=%d).", bridge.name,
                    bridge.pseudo_dev, result, errno);
    return result;
}

ifreq request_for(const pppoeia_bridge &bridge) {
    ifreq request{};
    copy_text(request.ifr_name, bridge.pseudo_dev);
    return request;
}

// Sets the socket's buffer for a burst of all lines, for which the system's default
// is too small. Without the privilege to exceed the system's limit, the limit
// applies.
void enlarge_receive_queue(int socket) {
    constexpr int bytes = 16 << 20;
    if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0)
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

// A non-blocking packet socket bound to the pseudo device.
int open_socket(BridgeRuntime &runtime) {
    const pppoeia_bridge &bridge = runtime.bridge;
    // Of no protocol until it is bound: else it would hear every device meanwhile.
    runtime.sock = platform::net_socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    if (runtime.sock < 0) {
        pppoeia_log(2, "<%s> Cannot create socket (%d).", bridge.name, errno);
        return no_file;
    }
    enlarge_receive_queue(runtime.sock);
    ifreq request = request_for(bridge);
    if (platform::net_device_request(runtime.sock, SIOCGIFINDEX, request) < 0 ||
        request.ifr_ifindex < 0) {
        pppoeia_log(2, "<%s> Cannot find device '%s' index.", bridge.name, bridge.pseudo_dev);
        return -ENODEV;
    }
    if (const int result = fcntl(runtime.sock, F_SETFL, O_NONBLOCK); result != 0) {
        pppoeia_log(2, "<%s> Cannot set socket to non-blocking mode.", bridge.name);
        return result;
    }
    if (const int result = platform::net_bind(runtime.sock, request.ifr_ifindex); result < 0) {
        pppoeia_log(2, "<%s> Cannot bind socket.", bridge.name);
        return result;
    }
    return 0;
}

void read_mtu(BridgeRuntime &runtime) {
    pppoeia_bridge &bridge = runtime.bridge;
    ifreq request = request_for(bridge);
    if (platform::net_device_request(runtime.sock, SIOCGIFMTU, request) < 0 ||
        request.ifr_mtu <= 0) {
        pppoeia_log(4, "<%s> Unable to get socket MTU, defaulting to %d.", bridge.name,
                    static_cast<int>(default_mtu));
        bridge.mtu = default_mtu;
    } else {
        bridge.mtu = static_cast<std::uint32_t>(request.ifr_mtu);
    }
    bridge.max_pdu = bridge.mtu;
}

int allocate_frame_buffers(BridgeRuntime &runtime) {
    const std::uint32_t mtu = runtime.bridge.mtu;
    runtime.buf_size = mtu + static_cast<std::uint32_t>(frame_adjust);
    try {
        // A marked frame may be one byte longer than the largest one received.
        runtime.batch.emplace(runtime.buf_size, mtu + ethernet_start + frame_slack);
        return 0;
    } catch (const std::bad_alloc &) {
        pppoeia_log(2, "<%s> Unable to allocate frame buffer.", runtime.bridge.name);
        return -ENOMEM;
    }
}

int start_worker(BridgeRuntime &runtime) {
    try {
        runtime.worker = std::thread([&runtime] { pppoeia_bridge_worker(runtime); });
        return 0;
    } catch (const std::system_error &error) {
        pppoeia_log(2, "<%s> Cannot start internal worker thread.", runtime.bridge.name);
        return error.code().value();
    }
}

// Creates the bridge's resources in order; the first step that fails has logged why
// and gives the result.
int start_up(BridgeRuntime &runtime) {
    const pppoeia_bridge &bridge = runtime.bridge;
    if (const int result = pppoeia_pseudo_device_add(bridge.name, bridge.pseudo_dev); result < 0) {
        pppoeia_log(2, "<%s> Cannot create '%s'.", bridge.name, bridge.pseudo_dev);
        return result;
    }
    if (const int result = attach_filter(runtime); result < 0) return result;
    if (const int result = open_socket(runtime); result != 0) return result;
    read_mtu(runtime);
    if (const int result = allocate_frame_buffers(runtime); result != 0) return result;
    return start_worker(runtime);
}

// All or nothing: the record is linked last, and releases its resources if a step
// fails. Throws std::bad_alloc.
int add_bridge(const char *name, std::uint32_t ports) {
    if (const int result = check_new_bridge(name); result != 0) return result;
    ControlFile control = open_bridge(name);
    if (!control.is_open()) return no_file;
    kvbridge_bridge_info info{};
    if (control.request(KVBRIDGE_IOC_GET_INFO, &info) < 0) {
        pppoeia_log(2, "<%s> Unable to get bridge information.", name);
        return -1;
    }
    const auto bridge = std::make_shared<pppoeia_bridge>(name, ports);
    bridge->stag_ethertype_nf = info.stag_ethertype;
    bridge->chassis_id = default_chassis;
    bridge->lines = make_owned<LineBook>(ports);
    bridge->runtime = make_owned<BridgeRuntime>(*bridge, std::move(control));
    BridgeRuntime &runtime = *bridge->runtime;
    if (const int result = start_up(runtime); result != 0) return result;
    bridge_list_link(bridge);
    pppoeia_log(6, "<%s> Bridge added (S-Tag EtherType=0x%04x, ports=%d, MTU=%d, buffer=%d).", name,
                info.stag_ethertype, ports, bridge->mtu, runtime.buf_size);
    return 0;
}

// Stops the worker first: a descriptor that it still uses must not be closed, since
// its number could be reused.
void stop_worker(BridgeRuntime &runtime) {
    if (!runtime.worker.joinable()) return;
    runtime.stop = true;
    try {
        runtime.worker.join();
    } catch (const std::system_error &) {
        pppoeia_log(4, "<%s> Unable to stop worker thread. Killing...", runtime.bridge.name);
        runtime.worker.detach();
    }
}

}  // namespace

BridgeRuntime::BridgeRuntime(pppoeia_bridge &owner, ControlFile file)
    : bridge(owner), control(std::move(file)) {}

BridgeRuntime::~BridgeRuntime() {
    stop_worker(*this);
    if (sock >= 0) close(sock);
    try {
        pppoeia_pseudo_device_del(bridge.name, bridge.pseudo_dev);
    } catch (const std::bad_alloc &) {
        pppoeia_log(2, "<%s> Cannot delete '%s'.", bridge.name, bridge.pseudo_dev);
    }
}

int end_bridge(pppoeia_bridge &bridge) {
    bridge.runtime.reset();
    pppoeia_log(7, "<%s> Bridge deleted.", bridge.name);
    return trace_result("fe_pppoeia_bridge_del", 0);
}

}  // namespace ia

int fe_pppoeia_bridge_add(const char *bridge, std::uint32_t ports) {
    const std::scoped_lock exclusive(ia::lifecycle);
    ia::trace_call(__func__, bridge);
    ia::announce_frame_adjust();
    try {
        return ia::trace_result(__func__, ia::add_bridge(bridge, ports));
    } catch (const std::bad_alloc &) {
        return ia::trace_result(__func__, ia::no_memory_for(bridge, ports));
    }
}

int fe_pppoeia_bridge_del(const char *bridge) {
    const std::scoped_lock exclusive(ia::lifecycle);
    ia::trace_call(__func__, bridge);
    if (!ia::bridge_list_exists()) {
        pppoeia_log(4, "Not initialized.");
        return ia::refuse(__func__, -ENXIO);
    }
    const ia::BridgePtr found = ia::bridge_list_unlink(bridge);
    return found ? ia::end_bridge(*found) : ia::refuse(__func__, -ENOENT);
}
