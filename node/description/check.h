// Checks between the sections of a description.
#pragma once

#include "node/description/problems.h"
#include "node/description/sections.h"

namespace ia::node {

// Also assigns interfaces and VLANs that name no bridge to the first one.
void check_description(Sections &sections, Problems &problems);

}  // namespace ia::node
