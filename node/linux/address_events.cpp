#include "node/linux/address_events.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <array>
#include <cerrno>

namespace ia::node {

AddressEvents::AddressEvents()
    : notices_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    if (notices_ && bind(notices_.get(), generic, sizeof address) != 0) notices_ = Descriptor();
}

bool AddressEvents::any() {
    if (!notices_) return true;
    std::array<char, 1> ignored;
    for (bool some = false;;) {
        const bool got = recv(notices_.get(), ignored.data(), ignored.size(), MSG_TRUNC) > 0;
        if (!got && errno == EINTR) continue;
        if (!got && errno == EAGAIN) return some;
        some = true;  // also when notices were lost
    }
}

}  // namespace ia::node
