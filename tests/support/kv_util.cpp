#include "platform/CKvUtil.h"

#include <cstdio>

std::string CKvUtil::macToString(const std::uint8_t *mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

std::string CKvUtil::ethertypeToString(std::uint16_t ethertype) {
    char text[7];
    std::snprintf(text, sizeof text, "0x%04x", ethertype);
    return text;
}
