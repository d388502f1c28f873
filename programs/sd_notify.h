// Tells the service manager how far this process is.
#pragma once

#include <chrono>
#include <optional>

namespace ia {

// Sends one state, as "READY=1", to the datagram socket that NOTIFY_SOCKET
// names: a path, or "@" and an abstract name. Without a service manager it does
// nothing.
void sd_notify(const char *state);

// How often the service manager wants to hear "WATCHDOG=1", twice as often as it
// says; nothing when it does not want to.
std::optional<std::chrono::microseconds> watchdog_pulse();

// The service is ready while this lives, and stopping from then on.
class ServiceReady {
public:
    ServiceReady() { sd_notify("READY=1"); }
    ~ServiceReady() { sd_notify("STOPPING=1"); }
    ServiceReady(const ServiceReady &) = delete;
    ServiceReady &operator=(const ServiceReady &) = delete;
};

}  // namespace ia
