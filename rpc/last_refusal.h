// The reason of a refused change, for the caller's next question.
#pragma once

#include <rpc/rpc.h>
#include <string>

namespace ia {

// The reason of the last refusal of this caller's process, over the local socket;
// empty when it is not known, or another process has changed something since. On
// the receive loop's thread.
std::string why_refused(const SVCXPRT *transport);

}  // namespace ia
