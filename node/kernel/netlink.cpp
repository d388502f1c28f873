#include "node/kernel/netlink.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <array>
#include <cerrno>
#include <system_error>

namespace ia::node {
namespace {

constexpr std::size_t receive_size = 32768;  // the kernel's largest dump part

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::system_category(), "netlink");
}

int error_of(const nlmsghdr &message) {
    return -payload<nlmsgerr>(message).error;
}

}  // namespace

Netlink::Netlink(int protocol)
    : socket_(mnl_socket_open2(protocol, SOCK_CLOEXEC), &mnl_socket_close) {
    if (!socket_ || mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0) fail(errno);
}

// Reads until the answer is complete. What is left of an earlier request that
// was given up is passed over.
int Netlink::take_answers(std::uint32_t sequence, const OnMessage *on_message) {
    alignas(nlmsghdr) std::array<char, receive_size> buffer;
    for (;;) {
        const ssize_t size = mnl_socket_recvfrom(socket_.get(), buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) fail(errno);
        int left = static_cast<int>(size);
        const auto *message =
            static_cast<const nlmsghdr *>(static_cast<const void *>(buffer.data()));
        for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
            if (message->nlmsg_seq != sequence) continue;
            if (message->nlmsg_flags & NLM_F_DUMP_INTR) return EINTR;
            if (message->nlmsg_type == NLMSG_ERROR) return error_of(*message);
            if (message->nlmsg_type == NLMSG_DONE) return 0;
            if (on_message) (*on_message)(*message);
        }
    }
}

int Netlink::ask(Request &request) {
    request.header->nlmsg_flags |= NLM_F_ACK;
    request.header->nlmsg_seq = ++sequence_;
    if (mnl_socket_sendto(socket_.get(), request.header, request.header->nlmsg_len) < 0)
        fail(errno);
    return take_answers(sequence_, nullptr);
}

bool Netlink::dump(Request &request, const OnMessage &on_message) {
    request.header->nlmsg_flags |= NLM_F_DUMP;
    request.header->nlmsg_seq = ++sequence_;
    if (mnl_socket_sendto(socket_.get(), request.header, request.header->nlmsg_len) < 0)
        fail(errno);
    const int error = take_answers(sequence_, &on_message);
    if (error != 0 && error != EINTR) fail(error);
    return error == 0;
}

// The kernel works on it before the call returns: its answers are there.
int Netlink::send_batch(std::span<const char> batch) {
    if (mnl_socket_sendto(socket_.get(), batch.data(), batch.size()) < 0) return errno;
    alignas(nlmsghdr) std::array<char, receive_size> buffer;
    int error = 0;
    for (;;) {
        const ssize_t size =
            recv(mnl_socket_get_fd(socket_.get()), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return error != 0 || errno == EAGAIN ? error : errno;
        int left = static_cast<int>(size);
        const auto *message =
            static_cast<const nlmsghdr *>(static_cast<const void *>(buffer.data()));
        for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left))
            if (error == 0 && message->nlmsg_type == NLMSG_ERROR) error = error_of(*message);
    }
}

}  // namespace ia::node
