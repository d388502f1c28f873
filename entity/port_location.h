// An interface's location in the node, in the store's form.
#pragma once

#include "pppoeia/records.h"

namespace ia {

// False when the registry does not know the interface.
bool location_of(unsigned int if_index, pppoeia_port_location &location);

}  // namespace ia
