// Helpers of the server functions.
#pragma once

#include "rpc/pppoeia.h"

#include <string>

namespace ia {

// XDR takes pointers to non-const char. The text stays the caller's.
inline char *text_of(const std::string &text) {
    return const_cast<char *>(text.c_str());
}

// The result of a change refused while service profiles configure the node.
inline constexpr int profile_mode = RPC_PPPOEIA_PROFILE_MODE;

}  // namespace ia
