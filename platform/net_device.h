// The agent's system calls on network devices. The scripted platform of the tests
// implements them without privileges.
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

// The MAC address of a device, six bytes. The management interface's name "mng0"
// stands for the device that the node uses as such. May be called for each frame:
// the address is kept until it changes, so the call costs no system call. Returns
// 0, or -1 with errno set.
int net_device_address(const char *device, std::uint8_t *mac);

}  // namespace ia::platform
