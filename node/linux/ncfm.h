// What the platform's information calls answer with.
#pragma once

#include "node/description/description.h"

namespace ia::node {

// Until this is called, the calls that need the description fail. Any thread.
void describe_node(const Description &description);

}  // namespace ia::node
