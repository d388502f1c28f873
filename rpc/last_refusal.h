// Why a change was refused, for the caller who asks next.
#pragma once

#include <rpc/rpc.h>
#include <string>

namespace ia {

// Of the last change that this caller's process was refused, over the local socket; empty
// when that is not known, or somebody else has changed something since. On the receive
// loop's thread.
std::string why_refused(const SVCXPRT *transport);

}  // namespace ia
