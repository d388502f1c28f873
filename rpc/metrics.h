// The counters and the health of the node as Prometheus text.
#pragma once

#include <string>

#pragma GCC visibility push(default)

namespace ia {

// All of it; without an engine, "up" is 0 and the counters are missing. On any
// thread, but none that holds the framework's lock or keeps the settings.
std::string metrics_text();

}  // namespace ia

#pragma GCC visibility pop
