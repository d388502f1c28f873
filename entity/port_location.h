// An interface's place in the node, as the store keeps it.
#pragma once

#include "pppoeia/records.h"

namespace ia {

// False when the registry does not know the interface.
bool location_of(unsigned int if_index, pppoeia_port_location &location);

}  // namespace ia
