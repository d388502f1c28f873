// Requests on the control files of the node's kernel modules.
#include "node/kernel/kernel.h"
#include "node/kernel/pseudo_device.h"
#include "platform/kernel_modules.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace ia::node {
namespace {

// A name field of a request; empty without a terminator.
template <std::size_t Size>
std::string field(const char (&text)[Size]) {
    const std::size_t length = strnlen(text, Size);
    return length < Size ? std::string(text, length) : std::string();
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

int Kernel::open_file(const std::string &path) {
    Handle file{File::devices, {}};
    if (path == KVBRIDGE_CONFIG_PATH) {
        file.file = File::bridging;
    } else if (path != KVMNG_CONFIG_PATH) {
        process_notices();  // the bridge may have been created just now
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
        ports_.set_pseudo(*bridge, 0);
        bridge->holder = -1;
    }
    handles_.erase(file);
}

int Kernel::add_pseudo(const std::string &name) {
    const int error = create_pseudo_device(name);
    if (error != 0 && error != EEXIST) return -error;
    const int prepared = prepare_pseudo_device(name, BridgeState{}.pseudo_mtu());
    if (prepared != 0) return -prepared;
    process_notices();
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

// A new attachment of the same bridge replaces the earlier one; another bridge's
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
    ports_.set_pseudo(bridge, pseudo);
    bridge.holder = handle;
    return 0;
}

std::map<int, std::string>::iterator Kernel::find_pseudo(const std::string &name) {
    return std::ranges::find_if(pseudo_devices_,
                                [&](const auto &entry) { return entry.second == name; });
}

}  // namespace ia::node
