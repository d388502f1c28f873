#include "fe/base/local_mac.h"

#include "fe/base/trace.h"
#include "platform/net_device.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace {

int failed() {
    pppoeia_log(3, "pppoeia_get_local_mac: error: %s\n", std::strerror(errno));
    return -1;
}

}  // namespace

int pppoeia_get_local_mac(std::uint8_t *mac) {
    const int socket = ia::platform::net_socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0) return failed();
    ifreq device{};
    std::strncpy(device.ifr_name, MANAGEMENT_INTERFACE, sizeof device.ifr_name - 1);
    const int result = ia::platform::net_device_request(socket, SIOCGIFHWADDR, device);
    if (result < 0) failed();
    close(socket);
    if (result < 0) return -1;
    std::memcpy(mac, device.ifr_hwaddr.sa_data, 6);
    return 0;
}
