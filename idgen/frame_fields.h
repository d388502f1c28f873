// The fields of the frame being processed that IDs are made of. The bridge's
// frame buffer holds the kernel's record and, behind it, the Ethernet frame.
#pragma once

#include "platform/kernel_modules.h"
#include "platform/wire_integers.h"
#include "store/bridge.h"

#include <cstddef>
#include <cstring>
#include <optional>

namespace ia {

inline constexpr std::size_t FRAME_VLAN = offsetof(kvbridge_frame_hdr, vlan);
inline constexpr std::size_t FRAME_CVLAN = offsetof(kvbridge_frame_hdr, cvlan);
inline constexpr std::size_t FRAME_SOURCE_MAC = sizeof(kvbridge_frame_hdr) + 6;

// Nothing when the bridge has no frame buffer.
template <class Field>
std::optional<Field> frame_field(const pppoeia_bridge &bridge, std::size_t offset) {
    if (bridge.frame_buf.size() < offset + sizeof(Field)) return std::nullopt;
    Field field;
    std::memcpy(&field, bridge.frame_buf.data() + offset, sizeof field);
    return field;
}

}  // namespace ia
