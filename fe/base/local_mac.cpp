#include "fe/base/local_mac.h"

#include "fe/base/notice.h"
#include "platform/net_device.h"

#include <cerrno>
#include <cstring>

int pppoeia_get_local_mac(std::uint8_t *mac) {
    if (ia::platform::net_device_address(management_interface, mac) == 0) return 0;
    static ia::Notice notice;
    notice.log(3, "pppoeia_get_local_mac: error: %s\n", std::strerror(errno));
    return -1;
}
