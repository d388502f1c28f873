// Tells the service manager how far this process is.
#pragma once

namespace ia {

// Sends one state, as "READY=1", to the datagram socket that NOTIFY_SOCKET
// names: a path, or "@" and an abstract name. Without a service manager it does
// nothing.
void sd_notify(const char *state);

// The service is ready while this lives, and stopping from then on.
class ServiceReady {
public:
    ServiceReady() { sd_notify("READY=1"); }
    ~ServiceReady() { sd_notify("STOPPING=1"); }
    ServiceReady(const ServiceReady &) = delete;
    ServiceReady &operator=(const ServiceReady &) = delete;
};

}  // namespace ia
