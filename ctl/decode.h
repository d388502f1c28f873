// A watched Discovery frame in words.
#pragma once

#include "ctl/command.h"

#include <cstdint>
#include <span>

namespace ia::ctl {

// Code, addresses, VLANs and tags of an Ethernet frame; what is cut off or not
// PPPoE is null or missing.
Json decode_frame(std::span<const std::uint8_t> ethernet);

}  // namespace ia::ctl
