// The platform's calls, answered by the process's Kernel.
#include "node/kernel/kernel.h"
#include "platform/frame_hold.h"
#include "platform/kernel_modules.h"

#include <cerrno>
#include <cstring>
#include <system_error>

namespace ia::node {
namespace {

// Held during each request, so that none uses a Kernel that is being destroyed.
std::mutex instance_lock;
Kernel *instance = nullptr;

template <class Request>
int on_instance(int without, Request request) {
    const std::lock_guard guard(instance_lock);
    if (!instance) return without;
    try {
        return request(*instance);
    } catch (const std::system_error &error) {
        return -error.code().value();
    }
}

// Of a bridge or a device.
bool is_name(const char *name) {
    return name && *name && strlen(name) < FILTER_NAME_SIZE;
}

}  // namespace

void Kernel::enlist() {
    const std::lock_guard guard(instance_lock);
    instance = this;
}

void Kernel::delist() {
    const std::lock_guard guard(instance_lock);
    instance = nullptr;
}

int Kernel::open(const char *path) {
    return on_instance(-ENOENT, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        return kernel.open_file(path);
    });
}

int Kernel::request(int handle, unsigned long request, void *argument) {
    return on_instance(-EBADF, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        return kernel.answer(handle, request, argument);
    });
}

void Kernel::close(int handle) {
    on_instance(0, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        kernel.close_file(handle);
        return 0;
    });
}

template <class Change>
int Kernel::change(Change change) {
    return on_instance(-ENXIO, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        try {
            kernel.process_notices();
            change(kernel);
        } catch (const std::system_error &error) {
            kernel.tell({error.what()});  // makes the watcher check everything soon
            throw;
        }
        return 0;
    });
}

int Kernel::bind(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side) {
    if (!is_name(bridge) || !is_name(device) || port == 0 || port > UINT16_MAX ||
        side >= FILTER_ROLES)
        return -EINVAL;
    return change([&](Kernel &kernel) { kernel.ports_.bind(bridge, port, device, side); });
}

int Kernel::unbind(const char *bridge, std::uint32_t port) {
    if (!is_name(bridge) || port == 0 || port > UINT16_MAX) return -EINVAL;
    return change([&](Kernel &kernel) { kernel.ports_.unbind(bridge, port); });
}

int Kernel::describe(const char *name, const char *device, std::uint16_t stag_ethertype,
                     std::uint32_t max_pdu) {
    if (!is_name(name) || !device || (*device && !is_name(device))) return -EINVAL;
    Bridge bridge;
    bridge.name = name;
    bridge.device = device;
    bridge.stag_ethertype = stag_ethertype;
    bridge.max_pdu = max_pdu;
    return change([&](Kernel &kernel) {
        if (*device)
            kernel.ports_.describe(bridge);
        else
            kernel.ports_.forget(bridge.name);
        kernel.raise_barrier();
        const auto errors = kernel.ports_.update_all(false);
        if (!errors.empty()) throw std::system_error(EIO, std::system_category(), errors.front());
    });
}

int Kernel::hold(const char *bridge, std::uint32_t port, bool on) {
    if (!is_name(bridge)) return -EINVAL;
    return change([&](Kernel &kernel) { kernel.ports_.hold(bridge, port, on); });
}

int Kernel::count(const char *bridge, std::uint32_t port, frame_counts &counts) {
    return on_instance(-ENXIO, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        counts = kernel.ports_.counts(bridge, port);
        return 0;
    });
}

int Kernel::clear_counts(const char *bridge, std::uint32_t port) {
    return on_instance(-ENXIO, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        kernel.ports_.clear_counts(bridge, port);
        return 0;
    });
}

int Kernel::check(const char *name) {
    return on_instance(-ENXIO, [&](Kernel &kernel) {
        const std::lock_guard guard(kernel.lock_);
        kernel.process_notices();
        const BridgeState *bridge = kernel.ports_.find(name);
        if (!bridge) return -ENOENT;
        if (bridge->device == 0) return 0;
        if (bridge->pseudo == 0) return -ENODEV;
        if (bridge->attached_mtu < bridge->pseudo_mtu()) return -EMSGSIZE;
        if (!kernel.barrier_) return -EOPNOTSUPP;
        return kernel.barrier_->stands() ? 0 : -ENOPROTOOPT;
    });
}

}  // namespace ia::node

namespace ia::platform {
namespace {

int with_errno(int result) {
    if (result >= 0) return result;
    errno = -result;
    return -1;
}

}  // namespace

int control_open(const char *path) {
    return with_errno(node::Kernel::open(path));
}

int control_request(int handle, unsigned long request, void *argument) {
    return with_errno(node::Kernel::request(handle, request, argument));
}

void control_close(int handle) {
    node::Kernel::close(handle);
}

int hold_frames(const char *bridge, std::uint32_t port) {
    return node::Kernel::hold(bridge, port, true);
}

int release_frames(const char *bridge, std::uint32_t port) {
    return node::Kernel::hold(bridge, port, false);
}

int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side) {
    return node::Kernel::bind(bridge, port, device, side);
}

int unbind_port(const char *bridge, std::uint32_t port) {
    return node::Kernel::unbind(bridge, port);
}

int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu) {
    return node::Kernel::describe(bridge, device, stag_ethertype, max_pdu);
}

int check_bridge(const char *bridge) {
    return node::Kernel::check(bridge);
}

int count_frames(const char *bridge, std::uint32_t port, frame_counts &counts) {
    return node::Kernel::count(bridge, port, counts);
}

int clear_frame_counts(const char *bridge, std::uint32_t port) {
    return node::Kernel::clear_counts(bridge, port);
}

}  // namespace ia::platform
