// Notices that a network device has come, gone or changed.
#pragma once

#include "management/event_loop.h"
#include "node/kernel/links.h"

#include <functional>
#include <set>
#include <string>

namespace ia {

// Has the loop call `changed`, once for all that changed at once.
class DeviceWatch {
public:
    DeviceWatch(EventLoop &loop, std::function<void()> changed);
    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;

private:
    node::LinkEvents events_;
    EventLoop::Source source_;
};

// The names of the devices there are.
std::set<std::string> present_devices();

}  // namespace ia
