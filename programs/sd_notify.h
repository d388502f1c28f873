// Reports this process's state to the service manager.
#pragma once

#include <chrono>
#include <optional>

namespace ia {

// Sends one state, as "READY=1", to the datagram socket that NOTIFY_SOCKET
// names: a path, or "@" and an abstract name. Without a service manager it does
// nothing.
void sd_notify(const char *state);

// The interval for "WATCHDOG=1": half of the service manager's limit; none without
// a watchdog.
std::optional<std::chrono::microseconds> watchdog_pulse();

// Reports "ready" at construction and "stopping" at destruction.
class ServiceReady {
public:
    ServiceReady() { sd_notify("READY=1"); }
    ~ServiceReady() { sd_notify("STOPPING=1"); }
    ServiceReady(const ServiceReady &) = delete;
    ServiceReady &operator=(const ServiceReady &) = delete;
};

}  // namespace ia
