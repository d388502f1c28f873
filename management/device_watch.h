// Reports that network devices have come, gone or changed.
#pragma once

#include "management/event_loop.h"
#include "node/kernel/links.h"

#include <functional>
#include <set>
#include <string>

namespace ia {

// Calls `changed` on the loop, once for all simultaneous changes.
class DeviceWatch {
public:
    DeviceWatch(EventLoop &loop, std::function<void()> changed);
    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;

private:
    node::LinkEvents events_;
    EventLoop::Source source_;
};

// The names of all network devices.
std::set<std::string> present_devices();

}  // namespace ia
