// Notices that a network device has come, gone or changed.
#pragma once

#include "node/kernel/links.h"

#include <functional>
#include <set>
#include <string>
#include <thread>

namespace ia {

// Calls `changed` on a thread of its own, once for all that changed at once.
class DeviceWatch {
public:
    explicit DeviceWatch(std::function<void()> changed);
    ~DeviceWatch();
    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;

private:
    node::LinkEvents events_;
    const std::function<void()> changed_;
    std::thread thread_;
};

// The names of the devices there are.
std::set<std::string> present_devices();

}  // namespace ia
