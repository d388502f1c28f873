// The difference of two node descriptions in words, for operators and the log.
#pragma once

#include "node/description/description.h"

#include <string>
#include <vector>

namespace ia {

// A line for each bridge, port and VLAN that joins, leaves or changes, and for
// what changes of the node itself; empty when nothing does.
std::vector<std::string> describe_changes(const node::Description &was,
                                          const node::Description &now);

}  // namespace ia
