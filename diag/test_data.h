// The made-up subscriber for trying custom ID formats, and the debug flag of the ID
// generation.
//
// Both live as long as the process. The request thread writes them; the workers may
// read them at any time.
#pragma once

#include "pppoeia/records.h"

#include <atomic>
#include <cstdint>
#include <string>

struct customFormatTestData_t {
    std::uint16_t vlan = 100;
    std::uint16_t cvid = 3999;
    std::uint32_t intfId = 10;
    std::uint32_t onu = 1;
    std::uint32_t vgem = 200;
    std::uint32_t tcontType = 4;
    pppoeia_mac clntMac = {{0x11, 0x22, 0x33, 0x44, 0x55, 0x66}};
    std::string customCidStr;
    std::string customRidStr;
};

namespace ia {

// While set, the ID generation prints lines "PPPOEIA_DEBUG:..." to standard
// output.
inline std::atomic<bool> test_debug{false};

// A copy of the record.
customFormatTestData_t test_data();

void set_test_data(const customFormatTestData_t &data);

}  // namespace ia
