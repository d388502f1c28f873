#include "platform/ncfm.h"

#include "node/linux/address_events.h"
#include "node/linux/ncfm.h"
#include "platform/frame_hold.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace {

using ia::node::AddressEvents;
using Ipv4 = std::array<std::uint8_t, 4>;
using Mac = std::array<std::uint8_t, 6>;

constexpr std::string_view management_name = "mng0";  // as the agent calls it

// The description's data, and a cache of addresses. Some formats need addresses for
// each frame, and reading them takes milliseconds on a node of thousands of
// devices: they are cached until the kernel reports a change.
struct Node {
    std::uint8_t board = 0;
    std::string management_device;
    AddressEvents events;
    std::map<std::string, std::optional<Mac>, std::less<>> mac;    // by device; none without it
    std::map<std::string, std::optional<Ipv4>, std::less<>> ipv4;  // by the name asked for
    std::optional<std::optional<std::string>> ipv6;                // of the management device
};

std::mutex node_lock;
std::optional<Node> this_node;

// To be called under the lock.
void forget_what_changed() {
    if (!this_node->events.any()) return;
    this_node->mac.clear();
    this_node->ipv4.clear();
    this_node->ipv6.reset();
}

// A device's own name; it may be asked for by an alternative one, which the
// address list does not know. Empty when there is none.
std::string device_name(const char *name) {
    char own[IF_NAMESIZE] = "";
    const unsigned index = if_nametoindex(name);
    return index != 0 && if_indextoname(index, own) ? own : "";
}

bool is_global(const in6_addr &address) {
    return !IN6_IS_ADDR_LINKLOCAL(&address) && !IN6_IS_ADDR_LOOPBACK(&address) &&
           !IN6_IS_ADDR_MULTICAST(&address) && !IN6_IS_ADDR_UNSPECIFIED(&address);
}

// Hands over the device's addresses of a family until `take` returns true.
// False when the addresses cannot be read.
template <class Address, class Take>
bool each_address(const std::string &device, int family, Take take) {
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0) return false;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner{list, &freeifaddrs};
    for (const ifaddrs *at = list; at; at = at->ifa_next) {
        if (!at->ifa_addr || at->ifa_addr->sa_family != family || device != at->ifa_name) continue;
        Address address;
        std::memcpy(&address, at->ifa_addr, sizeof address);
        if (take(address)) break;
    }
    return true;
}

// errno, or 0 with the address.
int read_mac(std::string_view device, Mac &mac) {
    ifreq request{};
    if (device.size() >= sizeof request.ifr_name) return ENODEV;
    device.copy(request.ifr_name, sizeof request.ifr_name - 1);
    const ia::node::Descriptor any{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (!any || ioctl(any.get(), SIOCGIFHWADDR, &request) < 0) return errno;
    std::memcpy(mac.data(), request.ifr_hwaddr.sa_data, mac.size());
    return 0;
}

std::optional<Ipv4> read_ipv4(const char *name) {
    const std::string device = device_name(name);
    std::optional<Ipv4> found;
    if (device.empty()) return found;
    each_address<sockaddr_in>(device, AF_INET, [&](const sockaddr_in &address) {
        std::memcpy(found.emplace().data(), &address.sin_addr, sizeof(Ipv4));
        return true;
    });
    return found;
}

// Empty without a global address; nothing without the device.
std::optional<std::string> read_ipv6(const std::string &name) {
    const std::string device = device_name(name.c_str());
    if (device.empty()) return std::nullopt;
    char text[INET6_ADDRSTRLEN] = "";
    const bool read = each_address<sockaddr_in6>(device, AF_INET6, [&](const sockaddr_in6 &found) {
        return is_global(found.sin6_addr) &&
               inet_ntop(AF_INET6, &found.sin6_addr, text, sizeof text);
    });
    return read ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

namespace ia::node {

// The absence of a device is kept too: its coming is a change.
int device_address(std::string_view device, std::uint8_t *to) {
    const std::lock_guard guard(node_lock);
    Mac mac;
    if (!this_node) {
        const int error = read_mac(device, mac);
        if (error == 0) std::ranges::copy(mac, to);
        return error;
    }
    if (device == management_name) device = this_node->management_device;
    forget_what_changed();
    auto known = this_node->mac.find(device);
    if (known == this_node->mac.end()) {
        const int error = read_mac(device, mac);
        if (error != 0 && error != ENODEV) return error;
        known =
            this_node->mac.emplace(device, error == 0 ? std::optional(mac) : std::nullopt).first;
    }
    if (!known->second) return ENODEV;
    std::ranges::copy(*known->second, to);
    return 0;
}

void describe_node(std::uint8_t board, const std::string &management_device) {
    const std::lock_guard guard(node_lock);
    this_node.emplace();
    this_node->board = board;
    this_node->management_device = management_device;
}

void describe_node(const Description &description) {
    describe_node(description.board, description.management_device);
}

}  // namespace ia::node

namespace ia::platform {

int describe_board(std::uint32_t position, const char *management_device) {
    const std::size_t length = strlen(management_device);
    if (position > UINT8_MAX || length == 0 || length >= IF_NAMESIZE) return -EINVAL;
    node::describe_node(static_cast<std::uint8_t>(position), management_device);
    return 0;
}

}  // namespace ia::platform

int ncfmGetMyBoardPos(std::uint8_t *position) {
    const std::lock_guard guard(node_lock);
    if (!this_node) return -1;
    *position = this_node->board;
    return 0;
}

int ncfmGetIpv6(ncfm_ipv6 *block) {
    const std::lock_guard guard(node_lock);
    if (!this_node) return -1;
    forget_what_changed();
    if (!this_node->ipv6) this_node->ipv6 = read_ipv6(this_node->management_device);
    const std::optional<std::string> &address = *this_node->ipv6;
    if (!address) return -1;
    block->address[address->copy(block->address, sizeof block->address - 1)] = '\0';
    return 0;
}

int ncfmGetInterface(ncfm_interface *block) {
    const std::string_view name(block->name, strnlen(block->name, sizeof block->name));
    if (name.size() == sizeof block->name) return -1;
    const std::lock_guard guard(node_lock);
    if (!this_node) return -1;
    forget_what_changed();
    auto known = this_node->ipv4.find(name);
    if (known == this_node->ipv4.end())
        known = this_node->ipv4.emplace(name, read_ipv4(block->name)).first;
    if (!known->second) return -1;
    std::ranges::copy(*known->second, block->ipv4);
    return 0;
}
