// The node's records of the subscriber equipment behind its GPON ports.
#pragma once

#include "platform/bll/singleton.h"

#include <cstdint>

#pragma GCC visibility push(default)

struct onuConfigTableGet {
    std::uint32_t mac_length;  // bytes; 0 when the ONU has reported none
    std::uint8_t mac[32];
};

class onuEquipment : public singleton<onuEquipment> {
public:
    // The configuration record of an ONU. The masks select fields for other users
    // of the record; here all are filled. Returns 0, or 1 when the interface is no
    // ONU.
    int onuConfigGet(unsigned int if_index, onuConfigTableGet &table, std::uint32_t fields,
                     std::uint32_t count, std::uint32_t valid) const;
};

#pragma GCC visibility pop
