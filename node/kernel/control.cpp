// The control requests, answered by the process's Kernel.
#include "node/kernel/kernel.h"
#include "node/kernel/pseudo_device.h"
#include "platform/frame_hold.h"
#include "platform/kernel_modules.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

namespace ia::node {
namespace {

// Held for the whole of each request: a request never meets a Kernel that is
// going.
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

// A name field of a request; empty when it is not terminated.
template <std::size_t size>
std::string field(const char (&text)[size]) {
    const std::size_t length = strnlen(text, size);
    return length < size ? std::string(text, length) : std::string();
}

// Of a bridge or a device.
bool is_name(const char *name) {
    return name && *name && strlen(name) < FILTER_NAME_SIZE;
}

int put_version(void *argument, std::int32_t version) {
    std::memcpy(argument, &version, sizeof version);
    return 0;
}

// The bridge of "/proc/net/kvbridge/<bridge>/bridge"; empty for any other path.
std::string bridge_of(std::string_view path) {
    static constexpr std::string_view before = "/proc/net/kvbridge/", after = "/bridge";
    if (!path.starts_with(before) || !path.ends_with(after)) return {};
    path.remove_prefix(before.size());
    if (path.size() <= after.size()) return {};
    path.remove_suffix(after.size());
    return path.find('/') == std::string_view::npos ? std::string(path) : std::string();
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
        kernel.catch_up();
        change(kernel);
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
        const auto errors = kernel.ports_.follow_all(false);
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
        kernel.catch_up();
        const BridgeState *bridge = kernel.ports_.find(name);
        if (!bridge) return -ENOENT;
        if (bridge->device == 0) return 0;
        if (bridge->pseudo == 0) return -ENODEV;
        if (bridge->attached_mtu < bridge->pseudo_mtu()) return -EMSGSIZE;
        if (!kernel.barrier_) return -EOPNOTSUPP;
        return kernel.barrier_->stands() ? 0 : -ENOPROTOOPT;
    });
}

int Kernel::open_file(const std::string &path) {
    Handle file{File::devices, {}};
    if (path == KVBRIDGE_CONFIG_PATH) {
        file.file = File::bridging;
    } else if (path != KVMNG_CONFIG_PATH) {
        catch_up();  // the bridge may have come a moment ago
        file = {File::bridge, bridge_of(path)};
        const BridgeState *bridge = ports_.find(file.bridge);
        if (!bridge || bridge->device == 0) return -ENOENT;
    }
    int handle = 0;
    while (handles_.contains(handle)) ++handle;
    handles_.emplace(handle, std::move(file));
    return handle;
}

int Kernel::answer(int handle, unsigned long request, void *argument) {
    const auto file = handles_.find(handle);
    if (file == handles_.end()) return -EBADF;
    if (!argument) return -EFAULT;
    switch (file->second.file) {
        case File::devices:
            switch (request) {
                case KVMNG_IOC_GET_VERSION: return put_version(argument, KVMNG_VERSION);
                case KVMNG_IOC_PSEUDO_ADD: return add_pseudo(static_cast<char *>(argument));
                case KVMNG_IOC_PSEUDO_DEL: return delete_pseudo(static_cast<char *>(argument));
                default: return -ENOTTY;
            }
        case File::bridging:
            return request == KVBRIDGE_IOC_GET_VERSION ? put_version(argument, KVBRIDGE_VERSION)
                                                       : -ENOTTY;
        case File::bridge: return answer_bridge(handle, request, argument);
    }
    return -ENOTTY;
}

int Kernel::answer_bridge(int handle, unsigned long request, void *argument) {
    BridgeState *bridge = ports_.find(handles_.at(handle).bridge);
    if (!bridge) return -ENODEV;  // no longer described
    if (request == KVBRIDGE_IOC_GET_INFO) {
        auto &info = *static_cast<kvbridge_bridge_info *>(argument);
        info = {};
        info.stag_ethertype = bridge->description.stag_ethertype;
        return 0;
    }
    if (request != KVBRIDGE_IOC_FILTER_ATTACH) return -ENOTTY;
    const auto &wanted = *static_cast<const kvbridge_filter_req *>(argument);
    return field(wanted.filter) == "pppoe" ? attach(handle, *bridge, field(wanted.device))
                                           : -EINVAL;
}

void Kernel::close_file(int handle) {
    const auto file = handles_.find(handle);
    if (file == handles_.end()) return;
    BridgeState *bridge = ports_.find(file->second.bridge);
    if (bridge && bridge->holder == handle) {
        ports_.direct(*bridge, 0);
        bridge->holder = -1;
    }
    handles_.erase(file);
}

int Kernel::add_pseudo(const std::string &name) {
    const int error = create_pseudo_device(name);
    if (error != 0 && error != EEXIST) return -error;
    const int prepared = prepare_pseudo_device(name, BridgeState{}.pseudo_mtu());
    if (prepared != 0) return -prepared;
    catch_up();
    const Link *link = links_.find(name);
    if (!link) return -ENODEV;
    pseudo_devices_[link->index] = name;
    return -error;
}

int Kernel::delete_pseudo(const std::string &name) {
    const auto known = find_pseudo(name);
    if (known == pseudo_devices_.end()) return -ENODEV;
    hold_pseudo(known->first);
    const int error = delete_pseudo_device(name);
    if (error == 0 || error == ENODEV) pseudo_devices_.erase(known);
    return -error;
}

// Over an attachment of the same bridge the new one wins; another bridge's
// pseudo device is refused.
int Kernel::attach(int handle, BridgeState &bridge, const std::string &device) {
    const auto known = find_pseudo(device);
    if (known == pseudo_devices_.end()) return -ENODEV;
    const int pseudo = known->first;
    for (const BridgeState &other : ports_.bridges())
        if (&other != &bridge && other.pseudo == pseudo) return -EBUSY;
    if (const int error = prepare_pseudo_device(device, bridge.pseudo_mtu())) return -error;
    bridge.attached_mtu = bridge.pseudo_mtu();
    filter_.attach(Hook::pseudo_out, pseudo, device);
    ports_.direct(bridge, pseudo);
    bridge.holder = handle;
    return 0;
}

std::map<int, std::string>::iterator Kernel::find_pseudo(const std::string &name) {
    return std::ranges::find_if(pseudo_devices_,
                                [&](const auto &entry) { return entry.second == name; });
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
