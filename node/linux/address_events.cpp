#include "node/linux/address_events.h"

#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

namespace ia::node {

AddressEvents::AddressEvents()
    : notices_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    if (!notices_ || !stop_ || bind(notices_.get(), generic, sizeof address) != 0) return;
    try {
        listener_ = std::thread(&AddressEvents::listen, this);
    } catch (const std::system_error &) {
        return;
    }
}

AddressEvents::~AddressEvents() {
    if (!listener_.joinable()) return;
    eventfd_write(stop_.get(), 1);
    listener_.join();
}

bool AddressEvents::any() {
    if (!listener_.joinable()) return true;
    const std::uint32_t heard = heard_.load(std::memory_order_acquire);
    return std::exchange(asked_, heard) != heard;
}

// Any error but a time-out means lost notices, which count as a change.
void AddressEvents::listen() {
    pollfd sources[] = {{notices_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    std::array<char, 1> ignored;
    for (;;) {
        if (poll(sources, std::size(sources), -1) < 0) continue;
        if (sources[1].revents != 0) return;
        while (recv(notices_.get(), ignored.data(), ignored.size(), MSG_TRUNC) >= 0 ||
               errno == ENOBUFS) {
        }
        heard_.fetch_add(1, std::memory_order_release);
    }
}

}  // namespace ia::node
