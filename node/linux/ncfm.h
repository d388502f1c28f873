// Data for the platform's information calls.
#pragma once

#include "node/description/description.h"

#include <cstdint>
#include <string_view>

namespace ia::node {

// Sets the description; calls that need it fail before. Any thread.
void describe_node(const Description &description);

// A device's MAC address, six bytes; "mng0" means the described management device.
// Returns 0 or errno. Any thread; no system call while nothing changes.
int device_address(std::string_view device, std::uint8_t *mac);

}  // namespace ia::node
