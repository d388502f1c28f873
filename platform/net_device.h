// The system calls that reach network devices, as the agent makes them. On a
// node they are the system calls; the scripted platform of the tests answers
// them without privileges.
#pragma once

struct ifreq;

namespace ia::platform {

// socket(2).
int net_socket(int domain, int type, int protocol);

// ioctl(2) with a device request. Returns its result, errno set on failure.
int net_device_request(int socket, unsigned long request, ifreq &device);

// bind(2) of a packet socket to one device, for all protocols.
int net_bind(int socket, int interface_index);

}  // namespace ia::platform
