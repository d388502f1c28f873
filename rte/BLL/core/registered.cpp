#include "rte/BLL/core/registered.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <system_error>

namespace ia {

namespace {

constexpr std::chrono::seconds time_to_answer{1};

int make_event() {
    const int event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return event;
}

}  // namespace

Registered &registered() {
    static auto *const all = new Registered;  // never destroyed: threads may outlive static objects
    return *all;
}

Registered::Registered() : wake_(make_event()) {}

void Registered::add(const Endpoint &endpoint) {
    const int socket = endpoint.transport->xp_fd;
    fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
    {
        const std::lock_guard guard(lock_);
        endpoints_.push_back(endpoint);
    }
    wake();
}

void Registered::remove(const SVCXPRT *transport) {
    const std::lock_guard guard(lock_);
    std::erase_if(endpoints_, [&](const Endpoint &other) { return other.transport == transport; });
}

std::vector<Endpoint> Registered::endpoints() {
    const std::lock_guard guard(lock_);
    return endpoints_;
}

void Registered::add(const rpcProxyTransport_t &transport) {
    {
        const std::lock_guard guard(lock_);
        std::erase_if(transports_, [&](const rpcProxyTransport_t &other) {
            return other.program == transport.program && other.version == transport.version &&
                   other.protocol == transport.protocol;
        });
        transports_.push_back(transport);
    }
    added_.notify_all();
}

std::vector<rpcProxyTransport_t> Registered::transports(std::size_t count,
                                                        std::chrono::milliseconds limit) {
    std::unique_lock guard(lock_);
    added_.wait_for(guard, limit, [&] { return transports_.size() >= count; });
    return transports_;
}

void Registered::wake() const {
    const std::uint64_t one = 1;
    while (write(wake_, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

bool Registered::loop_answers() {
    const std::lock_guard guard(lock_);
    const auto now = std::chrono::steady_clock::now();
    const std::uint64_t passes = passes_;
    wake();
    if (passes != passes_when_asked_) {
        passes_when_asked_ = passes;
        asked_ = now;
        return true;
    }
    return now - asked_ < time_to_answer;
}

}  // namespace ia
