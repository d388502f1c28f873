// Decodes a watched Discovery frame to JSON.
#pragma once

#include "ctl/command.h"

#include <cstdint>
#include <span>

namespace ia::ctl {

// Code, addresses, VLANs and tags of an Ethernet frame. Fields that are cut off or
// not PPPoE are null or missing.
Json decode_frame(std::span<const std::uint8_t> ethernet);

}  // namespace ia::ctl
