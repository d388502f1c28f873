// The Linux devices of ports.
#pragma once

#include "ctl/remote.h"

#include <cstdint>
#include <map>
#include <string>

namespace ia::ctl {

// By port number; ports without a device are missing.
std::map<std::uint32_t, std::string> devices_of_ports(Remote &agent);

// "up", "no carrier", "down", or "absent" where this machine has no such device.
const char *link_of(const std::string &device);

}  // namespace ia::ctl
