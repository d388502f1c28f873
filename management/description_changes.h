// Describes the difference of two node descriptions, for operators and the log.
#pragma once

#include "node/description/description.h"

#include <string>
#include <vector>

namespace ia {

// One line for each bridge, port and VLAN that joins, leaves or changes, and for
// each changed property of the node; empty without a difference.
std::vector<std::string> describe_changes(const node::Description &was,
                                          const node::Description &now);

}  // namespace ia
