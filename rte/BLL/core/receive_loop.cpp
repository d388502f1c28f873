#include "rte/BLL/core/receive_loop.h"

#include "rte/BLL/core/caller.h"

#include <sys/select.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>

namespace ia {

namespace {

constexpr int longest_wait = 1000;  // milliseconds
constexpr std::size_t longest_datagram = 8800;

}  // namespace

int ReceiveLoop::pass() {
    gather();
    const int count = poll(waits_.data(), waits_.size(), calls_wait_ ? 0 : longest_wait);
    if (count < 0) return errno == EINTR ? 0 : errno;
    if (const int error = serve_ready()) return error;
    connections_.close_overdue();
    registered().passed();
    return 0;
}

// Sockets that others opened through the RPC library are read by the library.
void ReceiveLoop::gather() {
    endpoints_ = registered().endpoints();
    waits_.assign(1, {registered().wake_descriptor(), POLLIN, 0});
    for (const Endpoint &endpoint : endpoints_)
        waits_.push_back({endpoint.transport->xp_fd, POLLIN, 0});
    const fd_set known = svc_fdset;
    foreign_ = 0;
    for (int descriptor = 0; descriptor < FD_SETSIZE; ++descriptor) {
        if (!FD_ISSET(descriptor, &known) ||
            std::ranges::any_of(endpoints_, [&](const Endpoint &endpoint) {
                return endpoint.transport->xp_fd == descriptor;
            }))
            continue;
        waits_.push_back({descriptor, POLLIN, 0});
        ++foreign_;
    }
    connections_.poll_for(waits_);
}

int ReceiveLoop::serve_ready() {
    const pollfd *next = waits_.data();
    if (next++->revents != 0) {
        std::uint64_t count = 0;
        if (read(registered().wake_descriptor(), &count, sizeof count) < 0 && errno != EAGAIN)
            return errno;
    }
    const pollfd *const endpoints = next;
    const pollfd *const foreign = endpoints + endpoints_.size();
    connections_.handle(foreign + foreign_);
    calls_wait_ = connections_.serve();
    for (std::size_t i = 0; i < foreign_; ++i) {
        if (foreign[i].revents & POLLNVAL) return EBADF;
        if (foreign[i].revents != 0) svc_getreq_common(foreign[i].fd);
    }
    for (std::size_t i = 0; i < endpoints_.size(); ++i) {
        if (endpoints[i].revents == 0) continue;
        if (endpoints_[i].stream)
            connections_.accept(endpoints_[i]);
        else
            serve_datagram(endpoints_[i]);
    }
    return 0;
}

// One datagram per pass, so that a heavy sender does not starve the other callers.
void ReceiveLoop::serve_datagram(const Endpoint &endpoint) {
    const int socket = endpoint.transport->xp_fd;
    Exchange exchange;
    exchange.longest_reply = longest_datagram;
    exchange.address_length = sizeof exchange.address;
    datagram_.resize(longest_datagram);
    auto *const caller = reinterpret_cast<sockaddr *>(&exchange.address);
    const ssize_t size = recvfrom(socket, datagram_.data(), datagram_.size(),
                                  MSG_DONTWAIT | MSG_TRUNC, caller, &exchange.address_length);
    if (size <= 0 || static_cast<std::size_t>(size) > datagram_.size()) return;
    exchange.call = std::span(datagram_).first(static_cast<std::size_t>(size));
    exchange.caller = udp_caller(reinterpret_cast<const sockaddr_in &>(exchange.address));
    dispatch_call(endpoint, exchange);
    if (!exchange.reply.empty())
        sendto(socket, exchange.reply.data(), exchange.reply.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
               caller, exchange.address_length);
}

}  // namespace ia
