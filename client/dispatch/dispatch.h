// Runs the client API's requests in the engine's process.
#pragma once

#include "platform/ippc_request.h"

#include <string>

#pragma GCC visibility push(default)

namespace ia {

// Runs the requested operation on the calling thread and fills in its result. A
// request with an unknown id, or with parameters that differ from the operation's,
// is refused with one warning and changes nothing.
bool dispatch(const platform::IppcRequest &request, platform::IppcAnswer &answer);

// Writes a warning of the IPPC server to the log (level 4).
void warn_ippc(const std::string &text);

}  // namespace ia

#pragma GCC visibility pop
