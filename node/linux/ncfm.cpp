#include "platform/ncfm.h"

#include "node/linux/ncfm.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace {

struct Facts {
    std::uint8_t board;
    std::string management_device;
};

std::mutex facts_lock;
std::optional<Facts> known;

std::optional<Facts> facts() {
    const std::lock_guard guard(facts_lock);
    return known;
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

}  // namespace

namespace ia::node {

void describe_node(const Description &description) {
    const std::lock_guard guard(facts_lock);
    known = Facts{description.board, description.management_device};
}

}  // namespace ia::node

int ncfmGetMyBoardPos(std::uint8_t *position) {
    const auto node = facts();
    if (!node) return -1;
    *position = node->board;
    return 0;
}

int ncfmGetIpv6(ncfm_ipv6 *block) {
    const auto node = facts();
    if (!node) return -1;
    const std::string device = device_name(node->management_device.c_str());
    if (device.empty()) return -1;
    const bool read = each_address<sockaddr_in6>(device, AF_INET6, [&](const sockaddr_in6 &found) {
        return is_global(found.sin6_addr) &&
               inet_ntop(AF_INET6, &found.sin6_addr, block->address, sizeof block->address);
    });
    return read ? 0 : -1;
}

int ncfmGetInterface(ncfm_interface *block) {
    if (!std::memchr(block->name, '\0', sizeof block->name)) return -1;
    const std::string device = device_name(block->name);
    bool found = false;
    if (device.empty()) return -1;
    each_address<sockaddr_in>(device, AF_INET, [&](const sockaddr_in &address) {
        std::memcpy(block->ipv4, &address.sin_addr, sizeof block->ipv4);
        return found = true;
    });
    return found ? 0 : -1;
}
