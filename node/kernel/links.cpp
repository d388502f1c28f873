#include "node/kernel/links.h"

#include <libmnl/libmnl.h>
#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <memory>
#include <string_view>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::size_t buffer_size = 32768;  // the kernel's largest dump part

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::system_category(), what);
}

using OnMessage = std::function<void(const nlmsghdr &)>;

int dispatch(const nlmsghdr *message, void *handler) {
    (*static_cast<const OnMessage *>(handler))(*message);
    return MNL_CB_OK;
}

template <class Family>
const Family &payload(const nlmsghdr &message) {
    return *static_cast<const Family *>(mnl_nlmsg_get_payload(&message));
}

// Sends one dump request and hands on every answer. `Family` is the header
// after the netlink header. False when the devices changed under the dump.
template <class Family>
bool dump(std::uint16_t type, const Family &family, const OnMessage &on_message) {
    const std::unique_ptr<mnl_socket, decltype(&mnl_socket_close)> socket{
        mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC), &mnl_socket_close};
    if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0) fail("netlink");

    alignas(nlmsghdr) std::array<char, buffer_size> buffer;
    nlmsghdr *request = mnl_nlmsg_put_header(buffer.data());
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request->nlmsg_seq = 1;
    *static_cast<Family *>(mnl_nlmsg_put_extra_header(request, sizeof family)) = family;
    if (mnl_socket_sendto(socket.get(), request, request->nlmsg_len) < 0) fail("netlink");

    OnMessage handler = on_message;
    int state = MNL_CB_OK;
    while (state > MNL_CB_STOP) {
        const ssize_t size = mnl_socket_recvfrom(socket.get(), buffer.data(), buffer.size());
        if (size < 0) fail("netlink");
        state = mnl_cb_run(buffer.data(), static_cast<std::size_t>(size), 1,
                           mnl_socket_get_portid(socket.get()), dispatch, &handler);
    }
    if (state < 0 && errno != EINTR) fail("netlink");
    return state >= 0;
}

template <class Take>
int each_attribute(const nlattr *attribute, void *take) {
    (*static_cast<Take *>(take))(*attribute);
    return MNL_CB_OK;
}

Link read_link(const nlmsghdr &message) {
    const auto &info = payload<ifinfomsg>(message);
    Link link;
    bool bridge_port = false;  // the kernel says so before the port's data
    link.index = info.ifi_index;
    link.ethernet = info.ifi_type == ARPHRD_ETHER;
    auto take_port = [&](const nlattr &nested) {
        if (mnl_attr_get_type(&nested) == IFLA_BRPORT_STATE)
            link.forwarding = mnl_attr_get_u8(&nested) == BR_STATE_FORWARDING;
    };
    auto take_info = [&](const nlattr &nested) {
        const auto type = mnl_attr_get_type(&nested);
        if (type == IFLA_INFO_KIND) link.kind = mnl_attr_get_str(&nested);
        if (type == IFLA_INFO_SLAVE_KIND)
            bridge_port = std::string_view(mnl_attr_get_str(&nested)) == "bridge";
        if (type == IFLA_INFO_SLAVE_DATA && bridge_port)
            mnl_attr_parse_nested(&nested, each_attribute<decltype(take_port)>, &take_port);
    };
    auto take = [&](const nlattr &attribute) {
        switch (mnl_attr_get_type(&attribute)) {
            case IFLA_IFNAME: link.name = mnl_attr_get_str(&attribute); break;
            case IFLA_MTU: link.mtu = static_cast<int>(mnl_attr_get_u32(&attribute)); break;
            case IFLA_MASTER: link.master = static_cast<int>(mnl_attr_get_u32(&attribute)); break;
            case IFLA_LINKINFO:
                mnl_attr_parse_nested(&attribute, each_attribute<decltype(take_info)>, &take_info);
                break;
            default: break;
        }
    };
    mnl_attr_parse(&message, sizeof info, each_attribute<decltype(take)>, &take);
    return link;
}

template <class Match>
const Link *find_if(const std::vector<Link> &links, Match match) {
    const auto found = std::find_if(links.begin(), links.end(), match);
    return found == links.end() ? nullptr : &*found;
}

}  // namespace

std::vector<Link> list_links() {
    std::vector<Link> links;
    ifinfomsg every{};
    every.ifi_family = AF_UNSPEC;
    const auto add = [&](const nlmsghdr &message) {
        if (message.nlmsg_type == RTM_NEWLINK) links.push_back(read_link(message));
    };
    while (!dump(RTM_GETLINK, every, add)) links.clear();
    return links;
}

const Link *find_link(const std::vector<Link> &links, const std::string &name) {
    return find_if(links, [&](const Link &link) { return link.name == name; });
}

const Link *find_link(const std::vector<Link> &links, int index) {
    return find_if(links, [&](const Link &link) { return link.index == index; });
}

bool has_filters(int index) {
    bool found = false;
    for (const std::uint32_t minor : {TC_H_MIN_INGRESS, TC_H_MIN_EGRESS}) {
        tcmsg hook{};
        hook.tcm_family = AF_UNSPEC;
        hook.tcm_ifindex = index;
        hook.tcm_parent = TC_H_MAKE(TC_H_CLSACT, minor);
        dump(RTM_GETTFILTER, hook,
             [&](const nlmsghdr &message) { found |= message.nlmsg_type == RTM_NEWTFILTER; });
    }
    return found;
}

LinkEvents::LinkEvents()
    : notices_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
    if (!notices_ || !stop_) fail("netlink notices");
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_TC;
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    if (bind(notices_.get(), generic, sizeof address) < 0) fail("netlink notices");
}

LinkEvents::~LinkEvents() = default;

void LinkEvents::stop() {
    if (eventfd_write(stop_.get(), 1) < 0) fail("eventfd");
}

std::optional<LinkEvents::Change> LinkEvents::wait(std::optional<std::chrono::milliseconds> limit) {
    pollfd sources[] = {{notices_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    const int most = limit ? static_cast<int>(limit->count()) : -1;
    while (poll(sources, std::size(sources), most) < 0)
        if (errno != EINTR) fail("poll");
    if (sources[1].revents != 0) return std::nullopt;
    return drain();
}

LinkEvents::Change LinkEvents::drain() {
    Change change;
    alignas(nlmsghdr) std::array<char, buffer_size> buffer;
    OnMessage handler = [&](const nlmsghdr &message) {
        const int type = message.nlmsg_type;
        change.links |= type == RTM_NEWLINK || type == RTM_DELLINK;
        change.filters |= type == RTM_DELTFILTER || type == RTM_DELQDISC;
    };
    for (;;) {
        const ssize_t size = recv(notices_.get(), buffer.data(), buffer.size(), 0);
        if (size > 0) {
            mnl_cb_run(buffer.data(), static_cast<std::size_t>(size), 0, 0, dispatch, &handler);
        } else if (size < 0 && errno == ENOBUFS) {  // notices were lost: look at everything
            change.links = change.filters = true;
        } else if (size >= 0 || errno != EINTR) {
            return change;
        }
    }
}

}  // namespace ia::node
