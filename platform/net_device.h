// The system calls that reach network devices, as the agent makes them. On a
// node they are the system calls; the scripted platform of the tests answers
// them without privileges.
#pragma once

#include <cstdint>

struct ifreq;

namespace ia::platform {

// socket(2).
int net_socket(int domain, int type, int protocol);

// ioctl(2) with a device request. Returns its result, errno set on failure.
int net_device_request(int socket, unsigned long request, ifreq &device);

// bind(2) of a packet socket to one device, for all protocols.
int net_bind(int socket, int interface_index);

// The MAC address of a device, six bytes. The agent's name for the management
// interface, "mng0", means the device that the node has for it. May be asked with
// each frame: the answer is kept until it changes, and then costs no system call.
// Returns 0, or -1 with errno set.
int net_device_address(const char *device, std::uint8_t *mac);

}  // namespace ia::platform
