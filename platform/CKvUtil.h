// Text forms of the node's utility library.
#pragma once

#include <cstdint>
#include <string>

class CKvUtil {
public:
    static std::string macToString(const std::uint8_t *mac);        // "00:1A:2B:3C:4D:5E"
    static std::string ethertypeToString(std::uint16_t ethertype);  // "0x88a8"
};
