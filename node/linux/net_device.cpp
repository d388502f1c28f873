#include "platform/net_device.h"

#include "node/linux/ncfm.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <cerrno>

namespace ia::platform {

int net_socket(int domain, int type, int protocol) {
    return socket(domain, type, protocol);
}

int net_device_request(int socket, unsigned long request, ifreq &device) {
    return ioctl(socket, request, &device);
}

int net_bind(int socket, int interface_index) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = interface_index;
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    return bind(socket, generic, sizeof address);
}

int net_device_address(const char *device, std::uint8_t *mac) {
    const int error = node::device_address(device, mac);
    if (error != 0) errno = error;
    return error == 0 ? 0 : -1;
}

}  // namespace ia::platform
