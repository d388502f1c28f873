// The node's platform as a test says it is. What is not there fails.
#pragma once

#include "pppoeia/records.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace ia::test {

struct scripted_platform {
    std::optional<std::uint8_t> board_position = 3;
    std::optional<std::array<std::uint8_t, 4>> ipv4 = {{10, 1, 2, 3}};
    std::optional<std::string> ipv6 = "2001:db8::1";
    std::optional<pppoeia_mac> mac = {{{0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F}}};  // of any device

    std::string asked_interface;  // of the last address request
};

// The platform there is. Assign it anew to start afresh.
scripted_platform &platform();

}  // namespace ia::test
