// What the engine's process does with the requests that it is sent.
#pragma once

#include "platform/ippc_request.h"

#include <string>

#pragma GCC visibility push(default)

namespace ia {

// Runs the operation asked for, on the calling thread, and answers with its
// result. A request with another id, or whose parameters are not exactly those
// of the operation, is refused with one warning and changes nothing.
bool dispatch(const platform::IppcRequest &request, platform::IppcAnswer &answer);

// Writes a warning of the IPPC server to the log (level 4).
void warn_ippc(const std::string &text);

}  // namespace ia

#pragma GCC visibility pop
