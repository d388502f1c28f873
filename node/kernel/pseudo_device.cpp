#include "node/kernel/pseudo_device.h"

#include "node/descriptor.h"
#include "node/kernel/links.h"
#include "node/kernel/netlink.h"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <linux/rtnetlink.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <cerrno>
#include <fstream>
#include <optional>

namespace ia::node {
namespace {

ifreq request_for(const std::string &name) {
    ifreq request{};
    name.copy(request.ifr_name, sizeof request.ifr_name - 1);
    return request;
}

// Opens the TAP device of that name, new or not, and makes it stay or go.
int set_persistent(const std::string &name, short flags, unsigned long persistent) {
    const Descriptor tun{open("/dev/net/tun", O_RDWR | O_CLOEXEC)};
    if (!tun) return errno;
    ifreq request = request_for(name);
    request.ifr_flags = static_cast<short>(IFF_TAP | IFF_NO_PI | flags);
    if (ioctl(tun.get(), TUNSETIFF, &request) < 0) return errno;
    return ioctl(tun.get(), TUNSETPERSIST, persistent) < 0 ? errno : 0;
}

// Whether the device of that name is a TAP device; nothing when there is none.
std::optional<bool> tap_named(const std::string &name) {
    const auto links = list_links();
    if (const Link *link = find_link(links, name)) return link->is_tap();
    return std::nullopt;
}

}  // namespace

int create_pseudo_device(const std::string &name) {
    if (name.empty() || name.size() >= IFNAMSIZ) return EINVAL;
    if (const auto known = tap_named(name)) return *known ? EEXIST : EBUSY;
    return set_persistent(name, static_cast<short>(IFF_TUN_EXCL), 1);
}

int delete_pseudo_device(const std::string &name) {
    if (!tap_named(name).value_or(false)) return ENODEV;
    return set_persistent(name, 0, 0);
}

int prepare_pseudo_device(const std::string &name, int mtu) {
    // Missing where the machine has no IPv6. What else is sent on the device by
    // anyone bears no frame record and is dropped.
    std::ofstream("/proc/sys/net/ipv6/conf/" + name + "/disable_ipv6") << 1;

    const Descriptor socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (!socket) return errno;
    ifreq request = request_for(name);
    request.ifr_mtu = mtu;
    return ioctl(socket.get(), SIOCSIFMTU, &request) < 0 ? errno : 0;
}

int set_device_up(int device) {
    Netlink kernel;
    Netlink::Request request;
    ifinfomsg link{};
    link.ifi_index = device;
    link.ifi_flags = link.ifi_change = IFF_UP;
    Netlink::begin(request, RTM_NEWLINK, 0, link);
    return kernel.ask(request);
}

}  // namespace ia::node
