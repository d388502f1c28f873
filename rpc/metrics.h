// The counters and the health of the node as Prometheus text.
#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace ia {

// The complete text; without an engine, "up" is 0 and the counters are missing. Any
// thread, except one that holds the framework's lock or that of the kept settings.
std::string metrics_text();

}  // namespace ia

#pragma GCC visibility pop
