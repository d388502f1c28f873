// A netlink socket for requests, dumps and notices. It is opened once and kept, so
// that it works even when the process runs out of descriptors.
#pragma once

#include <libmnl/libmnl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace ia::node {

// One thread at a time. Socket failures throw std::system_error.
class Netlink {
public:
    explicit Netlink(int protocol = NETLINK_ROUTE);

    // A buffer for a request: the netlink header, then the family's header with the
    // values of `family`, the rest zeros.
    static constexpr std::size_t request_size = 4096;
    struct Request {
        alignas(nlmsghdr) char bytes[request_size];
        nlmsghdr *header = nullptr;
    };
    template <class Family>
    static void begin(Request &request, std::uint16_t type, std::uint16_t flags,
                      const Family &family) {
        request.header = mnl_nlmsg_put_header(request.bytes);
        request.header->nlmsg_type = type;
        request.header->nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
        *static_cast<Family *>(mnl_nlmsg_put_extra_header(request.header, sizeof family)) = family;
    }

    // Sends the request and waits for the kernel's answer: 0 or an errno value.
    int ask(Request &request);

    using OnMessage = std::function<void(const nlmsghdr &)>;
    // Sends a dump request and passes on every answer. False when the table changed
    // during the dump, which must then be repeated.
    bool dump(Request &request, const OnMessage &on_message);

    // Sends a batch of messages, which the kernel applies completely or not at all.
    // Returns 0 or the errno value of the first refusal.
    int send_batch(std::span<const char> batch);

private:
    int take_answers(std::uint32_t sequence, const OnMessage *on_message);

    std::unique_ptr<mnl_socket, decltype(&mnl_socket_close)> socket_;
    std::uint32_t sequence_ = 0;
};

// The family's header of a message.
template <class Family>
const Family &payload(const nlmsghdr &message) {
    return *static_cast<const Family *>(mnl_nlmsg_get_payload(&message));
}

template <class Take>
int take_attribute(const nlattr *attribute, void *take) {
    (*static_cast<Take *>(take))(*attribute);
    return MNL_CB_OK;
}

// Passes on every attribute after the family's header.
template <class Take>
void each_attribute(const nlmsghdr &message, std::size_t family_size, Take take) {
    mnl_attr_parse(&message, static_cast<unsigned>(family_size), take_attribute<Take>, &take);
}

template <class Take>
void each_nested(const nlattr &attribute, Take take) {
    mnl_attr_parse_nested(&attribute, take_attribute<Take>, &take);
}

}  // namespace ia::node
