// What the server functions share.
#pragma once

#include "rpc/pppoeia.h"

#include <string>

namespace ia {

// XDR writes through pointers to char that are not const. The text stays the caller's.
inline char *text_of(const std::string &text) {
    return const_cast<char *>(text.c_str());
}

// The result of a change refused while service profiles configure the node.
inline constexpr int profile_mode = RPC_PPPOEIA_PROFILE_MODE;

}  // namespace ia
