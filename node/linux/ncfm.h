// What the platform's information calls answer with.
#pragma once

#include "node/description/description.h"

#include <cstdint>
#include <string_view>

namespace ia::node {

// Until this is called, the calls that need the description fail. Any thread.
void describe_node(const Description &description);

// A device's MAC address, six bytes, of the described management device for
// "mng0". Returns 0 or errno. Any thread; no system call while nothing changes.
int device_address(std::string_view device, std::uint8_t *mac);

}  // namespace ia::node
