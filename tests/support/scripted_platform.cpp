#include "tests/support/scripted_platform.h"

#include "platform/ncfm.h"
#include "platform/net_device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

ia::test::scripted_platform &ia::test::platform() {
    static scripted_platform platform;
    return platform;
}

using ia::test::platform;

int ncfmGetMyBoardPos(std::uint8_t *position) {
    if (!platform().board_position) return -1;
    *position = *platform().board_position;
    return 0;
}

int ncfmGetIpv6(ncfm_ipv6 *block) {
    if (!platform().ipv6) return -1;
    const std::string &address = *platform().ipv6;
    std::memcpy(block->address, address.data(), std::min(address.size(), sizeof block->address));
    return 0;
}

int ncfmGetInterface(ncfm_interface *block) {
    platform().asked_interface = block->name;
    if (!platform().ipv4) return -1;
    std::ranges::copy(*platform().ipv4, block->ipv4);
    return 0;
}

namespace ia::platform {

int net_socket(int, int, int) {
    errno = EMFILE;
    return -1;
}

int net_device_request(int, unsigned long, ifreq &) {
    errno = ENODEV;
    return -1;
}

int net_device_address(const char *, std::uint8_t *mac) {
    errno = ENODEV;
    if (!test::platform().mac) return -1;
    std::ranges::copy(test::platform().mac->bytes, mac);
    return 0;
}

int net_bind(int, int) {
    return 0;
}

}  // namespace ia::platform
