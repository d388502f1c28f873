#include "bench/tap.h"

#include "fe/base/text.h"

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace ia::bench {

namespace {

constexpr int pseudo_device_mtu = 1615;

int must(int result, const char *what) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return result;
}

void bring_up(ifreq &device) {
    const int any = must(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
    device.ifr_mtu = pseudo_device_mtu;
    must(ioctl(any, SIOCSIFMTU, &device), "MTU");
    must(ioctl(any, SIOCGIFFLAGS, &device), "flags");
    device.ifr_flags = static_cast<short>(device.ifr_flags | IFF_UP);
    must(ioctl(any, SIOCSIFFLAGS, &device), "device up");
    close(any);
}

}  // namespace

Tap::Tap(const char *name)
    : tap_((must(unshare(CLONE_NEWNET), "network namespace"),
            must(open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC), "/dev/net/tun"))) {
    // A kernel without IPv6 has no such file.
    std::ofstream("/proc/sys/net/ipv6/conf/default/disable_ipv6") << "1";
    ifreq device{};
    copy_text(device.ifr_name, name);
    device.ifr_flags = IFF_TAP | IFF_NO_PI;
    must(ioctl(tap_, TUNSETIFF, &device), "TUNSETIFF");
    bring_up(device);
}

Tap::~Tap() {
    close(tap_);
}

void Tap::put(std::span<const std::uint8_t> datagram) {
    must(static_cast<int>(write(tap_, datagram.data(), datagram.size())), "write to the device");
}

std::size_t Tap::take(std::span<std::uint8_t> datagram) {
    const ssize_t length = read(tap_, datagram.data(), datagram.size());
    if (length < 0 && errno != EAGAIN) must(-1, "read from the device");
    return length < 0 ? 0 : static_cast<std::size_t>(length);
}

}  // namespace ia::bench
