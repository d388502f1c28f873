// The node of the benchmarks: real sockets and devices, and kernel modules that
// accept everything. Its pseudo device exists before the bridge and outlives it.
#include "platform/kernel_modules.h"
#include "platform/ncfm.h"
#include "platform/net_device.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <algorithm>
#include <cerrno>

namespace ia::platform {

int control_open(const char *) {
    return 0;
}

int control_request(int, unsigned long request, void *argument) {
    switch (request) {
        case KVMNG_IOC_GET_VERSION: *static_cast<int *>(argument) = KVMNG_VERSION; return 0;
        case KVBRIDGE_IOC_GET_VERSION: *static_cast<int *>(argument) = KVBRIDGE_VERSION; return 0;
        case KVBRIDGE_IOC_GET_INFO:
            static_cast<kvbridge_bridge_info *>(argument)->stag_ethertype = 0x88A8;
            return 0;
        case KVMNG_IOC_PSEUDO_ADD: errno = EEXIST; return -1;
        default: return 0;
    }
}

void control_close(int) {}

// Gives packet sockets room for a whole burst of the generator.
int net_socket(int domain, int type, int protocol) {
    const int opened = socket(domain, type, protocol);
    constexpr int burst_bytes = 4 << 20;
    if (opened >= 0 && domain == AF_PACKET)
        setsockopt(opened, SOL_SOCKET, SO_RCVBUFFORCE, &burst_bytes, sizeof burst_bytes);
    return opened;
}

int net_device_request(int socket, unsigned long request, ifreq &device) {
    return ioctl(socket, request, &device);
}

int net_device_address(const char *, std::uint8_t *mac) {
    std::fill_n(mac, 6, std::uint8_t{2});
    return 0;
}

int net_bind(int socket, int interface_index) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = interface_index;
    return bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

}  // namespace ia::platform

int ncfmGetMyBoardPos(std::uint8_t *position) {
    *position = 3;
    return 0;
}

int ncfmGetIpv6(ncfm_ipv6 *) {
    return -1;
}

int ncfmGetInterface(ncfm_interface *) {
    return -1;
}
