#include "fe/bridge_runtime.h"

#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "fe/batch.h"
#include "fe/frame.h"
#include "fe/kernel.h"
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
#include <system_error>

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

int open_bridge(const char *name) {
    char path[200];
    std::snprintf(path, sizeof path, KVBRIDGE_BRIDGE_PATH_FORMAT, name, KVBRIDGE_BRIDGE_FILE);
    const int handle = platform::control_open(path);
    if (handle < 0) pppoeia_log(2, "<%s> Cannot open bridge.", name);
    return handle;
}

int attach_filter(const pppoeia_bridge &bridge) {
    kvbridge_filter_req request{};
    copy_text(request.filter, "pppoe");
    copy_text(request.device, bridge.pseudo_dev);
    const int result =
        platform::control_request(bridge.bridge_fd, KVBRIDGE_IOC_FILTER_ATTACH, &request);
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

// Room for the burst of all lines at once, for which the system's default is too
// small. Without the privilege to exceed the system's limit, up to that limit.
void enlarge_receive_queue(int socket) {
    constexpr int bytes = 16 << 20;
    if (setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) != 0)
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

// A non-blocking packet socket bound to the pseudo device.
int open_socket(pppoeia_bridge &bridge) {
    // Of no protocol until it is bound: else it would hear every device meanwhile.
    bridge.sock = platform::net_socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    if (bridge.sock < 0) {
        pppoeia_log(2, "<%s> Cannot create socket (%d).", bridge.name, errno);
        return no_file;
    }
    enlarge_receive_queue(bridge.sock);
    ifreq request = request_for(bridge);
    if (platform::net_device_request(bridge.sock, SIOCGIFINDEX, request) < 0 ||
        request.ifr_ifindex < 0) {
        pppoeia_log(2, "<%s> Cannot find device '%s' index.", bridge.name, bridge.pseudo_dev);
        return -ENODEV;
    }
    if (const int result = fcntl(bridge.sock, F_SETFL, O_NONBLOCK); result != 0) {
        pppoeia_log(2, "<%s> Cannot set socket to non-blocking mode.", bridge.name);
        return result;
    }
    if (const int result = platform::net_bind(bridge.sock, request.ifr_ifindex); result < 0) {
        pppoeia_log(2, "<%s> Cannot bind socket.", bridge.name);
        return result;
    }
    return 0;
}

int allocate_frame_buffer(pppoeia_bridge &bridge) {
    ifreq request = request_for(bridge);
    if (platform::net_device_request(bridge.sock, SIOCGIFMTU, request) < 0 ||
        request.ifr_mtu <= 0) {
        pppoeia_log(4, "<%s> Unable to get socket MTU, defaulting to %d.", bridge.name,
                    static_cast<int>(default_mtu));
        bridge.mtu = default_mtu;
    } else {
        bridge.mtu = static_cast<std::uint32_t>(request.ifr_mtu);
    }
    bridge.buf_size = bridge.mtu + static_cast<std::uint32_t>(frame_adjust);
    bridge.max_pdu = bridge.mtu;
    try {
        // A marked frame may be one byte longer than the largest one received.
        bridge.frame_buf.resize(bridge.mtu + ethernet_start + frame_slack);
        bridge.batch = std::make_shared<Batch>(bridge.buf_size, bridge.frame_buf.size());
    } catch (const std::bad_alloc &) {
        pppoeia_log(2, "<%s> Unable to allocate frame buffer.", bridge.name);
        return -ENOMEM;
    }
    return 0;
}

int start_worker(const BridgePtr &bridge) {
    bridge_list_link(bridge);
    try {
        bridge->worker = std::thread([&record = *bridge] { pppoeia_bridge_worker(record); });
        return 0;
    } catch (const std::system_error &error) {
        pppoeia_log(2, "<%s> Cannot start internal worker thread.", bridge->name);
        bridge_list_unlink(bridge->name);
        return error.code().value();
    }
}

// Everything that the bridge owns in the node, in order; the first step that
// fails has logged why and gives the result.
int start_up(const BridgePtr &bridge) {
    if (const int result = pppoeia_pseudo_device_add(bridge->name, bridge->pseudo_dev);
        result < 0) {
        pppoeia_log(2, "<%s> Cannot create '%s'.", bridge->name, bridge->pseudo_dev);
        return result;
    }
    if (const int result = attach_filter(*bridge); result < 0) return result;
    if (const int result = open_socket(*bridge); result != 0) return result;
    if (const int result = allocate_frame_buffer(*bridge); result != 0) return result;
    return start_worker(bridge);
}

void close_files(pppoeia_bridge &bridge) {
    if (bridge.sock >= 0) close(bridge.sock);
    if (bridge.bridge_fd >= 0) platform::control_close(bridge.bridge_fd);
    bridge.sock = bridge.bridge_fd = -1;
}

int add_bridge(const char *name, std::uint32_t ports) {
    if (const int result = check_new_bridge(name); result != 0) return result;
    const int handle = open_bridge(name);
    if (handle < 0) return no_file;
    kvbridge_bridge_info info{};
    if (platform::control_request(handle, KVBRIDGE_IOC_GET_INFO, &info) < 0) {
        pppoeia_log(2, "<%s> Unable to get bridge information.", name);
        platform::control_close(handle);
        return -1;
    }
    BridgePtr bridge;
    if (const int result = allocate_bridge(name, ports, bridge); result != 0) {
        platform::control_close(handle);
        return result;
    }
    bridge->bridge_fd = handle;
    bridge->stag_ethertype_nf = info.stag_ethertype;
    bridge->chassis_id = default_chassis;
    if (const int result = start_up(bridge); result != 0) {
        pppoeia_pseudo_device_del(name, bridge->pseudo_dev);
        close_files(*bridge);
        return result;
    }
    pppoeia_log(6, "<%s> Bridge added (S-Tag EtherType=0x%04x, ports=%d, MTU=%d, buffer=%d).", name,
                info.stag_ethertype, ports, bridge->mtu, bridge->buf_size);
    return 0;
}

// The worker goes first: a descriptor that it may still use is never closed,
// since its number could be given out again.
void shut_down(pppoeia_bridge &bridge) {
    bridge.stop = true;
    try {
        bridge.worker.join();
    } catch (const std::system_error &) {
        pppoeia_log(4, "<%s> Unable to stop worker thread. Killing...", bridge.name);
    }
    close_files(bridge);
    pppoeia_pseudo_device_del(bridge.name, bridge.pseudo_dev);
    pppoeia_log(7, "<%s> Bridge deleted.", bridge.name);
}

}  // namespace

int delete_bridge(const char *name) {
    constexpr const char *operation = "fe_pppoeia_bridge_del";
    trace_call(operation, name);
    if (!bridge_list_exists()) {
        pppoeia_log(4, "Not initialized.");
        return refuse(operation, -ENXIO);
    }
    const BridgePtr found = bridge_list_unlink(name);
    if (!found) return refuse(operation, -ENOENT);
    shut_down(*found);
    return trace_result(operation, 0);
}

}  // namespace ia

int fe_pppoeia_bridge_add(const char *bridge, std::uint32_t ports) {
    const std::scoped_lock exclusive(ia::lifecycle);
    ia::trace_call(__func__, bridge);
    ia::announce_frame_adjust();
    return ia::trace_result(__func__, ia::add_bridge(bridge, ports));
}

int fe_pppoeia_bridge_del(const char *bridge) {
    const std::scoped_lock exclusive(ia::lifecycle);
    return ia::delete_bridge(bridge);
}
