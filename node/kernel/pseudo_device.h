// Pseudo devices: TAP devices that stay until they are deleted. No process
// reads their character device; frames come in from the filter and go out
// through it.
#pragma once

#include <string>

namespace ia::node {

// The errno values are those of the pseudo device requests. 0 on success.
int create_pseudo_device(const std::string &name);  // EEXIST: it is there already
int delete_pseudo_device(const std::string &name);  // ENODEV: there is none

// Sets the MTU and keeps IPv6 off the device. 0 or an errno value.
int prepare_pseudo_device(const std::string &name, int mtu);

// 0 or an errno value.
int set_device_up(int device);

}  // namespace ia::node
