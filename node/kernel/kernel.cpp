#include "node/kernel/kernel.h"

#include "node/kernel/pseudo_device.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ia::node {
namespace {

[[noreturn]] void fail(const char *what) {
    throw std::system_error(errno, std::system_category(), what);
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += (text.empty() ? "" : "; ") + line;
    return text;
}

}  // namespace

Kernel::Claim::Claim() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    if (!socket_) fail("socket");
    static constexpr char name[] = "pppoeia-kernel";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name, sizeof name - 1);
    const auto *generic = static_cast<const sockaddr *>(static_cast<const void *>(&address));
    if (bind(socket_.get(), generic, offsetof(sockaddr_un, sun_path) + sizeof name) == 0) return;
    if (errno == EADDRINUSE)
        throw std::runtime_error("another forwarding engine runs on this machine");
    fail("socket");
}

Kernel::Kernel(const Description &description) {
    ports_.describe(description);
    try {
        const auto links = list_links();
        if (const auto errors = ports_.reconcile(links, false); !errors.empty())
            throw std::runtime_error(joined(errors));
        take_over(links);
        watcher_ = std::thread(&Kernel::watch, this);
    } catch (...) {
        ports_.release(Ports::Release::new_ones);
        throw;
    }
    enlist();
}

Kernel::~Kernel() {
    delist();
    events_.stop();
    watcher_.join();
    for (const auto &[name, device] : pseudo_devices_) {
        hold_pseudo(device);
        if (const int error = delete_pseudo_device(name); error != 0 && error != ENODEV) {
            syslog(LOG_ERR, "%s: pseudo device not deleted: %s", name.c_str(), strerror(error));
            Filter::detach(device, true);
        }
    }
    ports_.release(Ports::Release::all);
}

void Kernel::update(const Description &description) {
    const std::lock_guard guard(lock_);
    ports_.describe(description);
    const auto errors = ports_.reconcile(list_links(), false);
    if (!errors.empty()) throw std::runtime_error(joined(errors));
}

std::vector<PortStatus> Kernel::ports() const {
    const std::lock_guard guard(lock_);
    return ports_.status();
}

std::array<std::uint64_t, OUTCOME_COUNT> Kernel::outcomes() const {
    return filter_.outcomes();
}

// What a killed process left: pseudo devices wait for their bridge, programs on
// devices that are no ports any more go.
void Kernel::take_over(const std::vector<Link> &links) {
    for (const Link &link : links) {
        if (link.is_tap() && Filter::attached_by_anyone(Hook::pseudo_out, link.index)) {
            pseudo_devices_[link.name] = link.index;
        } else if (!ports_.carries(link.index) &&
                   (Filter::attached_by_anyone(Hook::port_in, link.index) ||
                    Filter::attached_by_anyone(Hook::port_out, link.index))) {
            Filter::detach(link.index, true);
        }
    }
}

void Kernel::hold_pseudo(int device) {
    for (BridgeState &bridge : ports_.bridges())
        if (bridge.pseudo == device) ports_.direct(bridge, 0);
}

// Says what is wrong, once, until something else is. Whether nothing is.
bool Kernel::tell(const std::string &trouble) {
    if (trouble != trouble_ && !trouble.empty()) syslog(LOG_ERR, "%s", trouble.c_str());
    trouble_ = trouble;
    return trouble.empty();
}

// Looks at the devices anew. With the lock held. False when not all could be
// put in order.
bool Kernel::follow(bool verify) {
    const auto links = list_links();
    const bool in_order = tell(joined(ports_.reconcile(links, verify)));
    check_pseudo_devices(links, verify);
    return in_order;
}

// A pseudo device that somebody deletes takes the engine's socket with it; its
// bridge holds until the engine adds the bridge anew.
void Kernel::check_pseudo_devices(const std::vector<Link> &links, bool verify) {
    for (auto at = pseudo_devices_.begin(); at != pseudo_devices_.end();) {
        const auto &[name, device] = *at;
        if (!find_link(links, device)) {
            syslog(LOG_ERR, "%s: pseudo device is gone, its bridge holds", name.c_str());
            hold_pseudo(device);
            at = pseudo_devices_.erase(at);
            continue;
        }
        if (verify && !filter_.attached(Hook::pseudo_out, device))
            filter_.attach(Hook::pseudo_out, device, name);
        ++at;
    }
}

bool Kernel::follow_notice(bool verify) {
    const std::lock_guard guard(lock_);
    try {
        return follow(verify);
    } catch (const std::exception &error) {
        return tell(std::string("bridge ports: ") + error.what());
    }
}

// What could not be done, for want of descriptors say, is tried again: there may
// be no other notice of it.
void Kernel::watch() {
    using namespace std::chrono_literals;
    bool in_order = true;
    while (const auto change = in_order ? events_.wait() : events_.wait(1s)) {
        if (!in_order || change->links || change->filters)
            in_order = follow_notice(!in_order || change->filters);
    }
}

}  // namespace ia::node
