#include "node/kernel/links.h"

#include "node/kernel/netlink.h"

#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/pkt_cls.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::size_t buffer_size = 32768;
constexpr int notices_kept = 8 << 20;  // bytes; some ten thousand notices

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::system_category(), what);
}

void read_port_state(const nlattr &ports, Link &link) {
    each_nested(ports, [&](const nlattr &nested) {
        if (mnl_attr_get_type(&nested) == IFLA_BRPORT_STATE)
            link.forwarding = mnl_attr_get_u8(&nested) == BR_STATE_FORWARDING;
    });
}

void read_info(const nlattr &info, Link &link) {
    bool bridge_port = false;  // the kernel says so before the port's data
    each_nested(info, [&](const nlattr &nested) {
        const auto type = mnl_attr_get_type(&nested);
        if (type == IFLA_INFO_KIND) link.kind = mnl_attr_get_str(&nested);
        if (type == IFLA_INFO_SLAVE_KIND)
            bridge_port = std::string_view(mnl_attr_get_str(&nested)) == "bridge";
        if (type == IFLA_INFO_SLAVE_DATA && bridge_port) read_port_state(nested, link);
    });
}

Link read_link(const nlmsghdr &message) {
    const auto &info = payload<ifinfomsg>(message);
    Link link;
    link.index = info.ifi_index;
    link.ethernet = info.ifi_type == ARPHRD_ETHER;
    link.up = info.ifi_flags & IFF_UP;
    each_attribute(message, sizeof info, [&](const nlattr &attribute) {
        switch (mnl_attr_get_type(&attribute)) {
            case IFLA_IFNAME: link.name = mnl_attr_get_str(&attribute); break;
            case IFLA_MTU: link.mtu = static_cast<int>(mnl_attr_get_u32(&attribute)); break;
            case IFLA_MASTER: link.master = static_cast<int>(mnl_attr_get_u32(&attribute)); break;
            case IFLA_LINKINFO: read_info(attribute, link); break;
            // Sent by the device's bridge if it is a port; else by another source.
            case IFLA_PROTINFO:
                if (info.ifi_family == AF_BRIDGE) read_port_state(attribute, link);
                break;
            default: break;
        }
    });
    return link;
}

// A bridge's notice about a port has only the port's state; other notices have
// parts of a device and no name.
std::optional<LinkNotice> read_notice(const nlmsghdr &message) {
    const auto &info = payload<ifinfomsg>(message);
    const Link link = read_link(message);
    if (info.ifi_family == AF_BRIDGE) {
        bool with_state = false;
        each_attribute(message, sizeof info, [&](const nlattr &attribute) {
            with_state |= mnl_attr_get_type(&attribute) == IFLA_PROTINFO;
        });
        if (!with_state || message.nlmsg_type == RTM_DELLINK) return std::nullopt;
        return LinkNotice{LinkNotice::What::port_changed, link};
    }
    if (info.ifi_family != AF_UNSPEC || link.name.empty()) return std::nullopt;
    return LinkNotice{
        message.nlmsg_type == RTM_DELLINK ? LinkNotice::What::gone : LinkNotice::What::changed,
        link};
}

// Filters that this engine installed itself need no check.
bool is_own_filter(const nlmsghdr &message) {
    bool own = false;
    each_attribute(message, sizeof(tcmsg), [&](const nlattr &attribute) {
        if (mnl_attr_get_type(&attribute) != TCA_OPTIONS) return;
        each_nested(attribute, [&](const nlattr &nested) {
            own |= mnl_attr_get_type(&nested) == TCA_BPF_NAME &&
                   std::string_view(mnl_attr_get_str(&nested)).starts_with("pppoeia_");
        });
    });
    return own;
}

void take_notice(const nlmsghdr &message, LinkEvents::Change &change) {
    switch (message.nlmsg_type) {
        case RTM_NEWLINK:
        case RTM_DELLINK:
            if (const auto notice = read_notice(message)) change.links.push_back(*notice);
            break;
        case RTM_NEWTFILTER:
            if (is_own_filter(message)) break;
            [[fallthrough]];
        case RTM_DELTFILTER:
        case RTM_DELQDISC: change.filters.push_back(payload<tcmsg>(message).tcm_ifindex); break;
        default: break;
    }
}

}  // namespace

std::vector<Link> list_links() {
    std::vector<Link> links;
    Netlink kernel;
    const auto add = [&](const nlmsghdr &message) {
        if (message.nlmsg_type == RTM_NEWLINK) links.push_back(read_link(message));
    };
    for (;;) {
        Netlink::Request request;
        Netlink::begin(request, RTM_GETLINK, 0, ifinfomsg{});
        if (kernel.dump(request, add)) return links;
        links.clear();
    }
}

const Link *find_link(const std::vector<Link> &links, const std::string &name) {
    const auto found = std::find_if(links.begin(), links.end(),
                                    [&](const Link &link) { return link.name == name; });
    return found == links.end() ? nullptr : &*found;
}

void Links::replace(const std::vector<Link> &links) {
    links_.clear();
    names_.clear();
    for (const Link &link : links) add(link);
}

const Link *Links::apply(const LinkNotice &notice) {
    const auto known = links_.find(notice.link.index);
    switch (notice.what) {
        case LinkNotice::What::changed: add(notice.link); return &links_.at(notice.link.index);
        case LinkNotice::What::gone: remove(notice.link.index); return nullptr;
        case LinkNotice::What::port_changed:
            if (known == links_.end()) return nullptr;
            known->second.forwarding = notice.link.forwarding;
            return &known->second;
    }
    return nullptr;
}

void Links::add(const Link &link) {
    remove(link.index);
    links_[link.index] = link;
    names_[link.name] = link.index;
}

void Links::remove(int index) {
    const auto known = links_.find(index);
    if (known == links_.end()) return;
    const auto name = names_.find(known->second.name);
    if (name != names_.end() && name->second == index) names_.erase(name);
    links_.erase(known);
}

const Link *Links::find(const std::string &name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? nullptr : find(found->second);
}

const Link *Links::find(int index) const {
    const auto found = links_.find(index);
    return found == links_.end() ? nullptr : &found->second;
}

LinkEvents::LinkEvents()
    : notices_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
    if (!notices_ || !wake_ || !stop_) fail("netlink notices");
    // Without the privilege, the machine's limit applies.
    if (setsockopt(notices_.get(), SOL_SOCKET, SO_RCVBUFFORCE, &notices_kept,
                   sizeof notices_kept) != 0)
        setsockopt(notices_.get(), SOL_SOCKET, SO_RCVBUF, &notices_kept, sizeof notices_kept);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_TC;
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    if (bind(notices_.get(), generic, sizeof address) < 0) fail("netlink notices");
}

LinkEvents::~LinkEvents() = default;

void LinkEvents::wake() {
    if (eventfd_write(wake_.get(), 1) < 0) fail("eventfd");
}

void LinkEvents::stop() {
    if (eventfd_write(stop_.get(), 1) < 0) fail("eventfd");
}

bool LinkEvents::wait(std::optional<std::chrono::milliseconds> limit) {
    pollfd sources[] = {
        {notices_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}};
    const int most = limit ? static_cast<int>(limit->count()) : -1;
    while (poll(sources, std::size(sources), most) < 0)
        if (errno != EINTR) fail("poll");
    if (eventfd_t unused; sources[1].revents != 0) eventfd_read(wake_.get(), &unused);
    return sources[2].revents == 0;
}

LinkEvents::Change LinkEvents::take() {
    Change change;
    alignas(nlmsghdr) std::array<char, buffer_size> buffer;
    for (;;) {
        const ssize_t size = recv(notices_.get(), buffer.data(), buffer.size(), 0);
        if (size < 0 && errno == ENOBUFS) {
            change.lost = true;
        } else if (size > 0) {
            int left = static_cast<int>(size);
            const auto *message =
                static_cast<const nlmsghdr *>(static_cast<const void *>(buffer.data()));
            for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left))
                take_notice(*message, change);
        } else if (size >= 0 || errno != EINTR) {
            return change;
        }
    }
}

}  // namespace ia::node
