// Integers in a frame or a record: byte arrays with conversions, so that a record
// may stand at any address.
#pragma once

#include <cstdint>
#include <cstring>

namespace ia {

struct Be16 {
    std::uint8_t bytes[2];

    constexpr operator std::uint16_t() const {
        return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    }
    constexpr Be16 &operator=(std::uint16_t value) {
        bytes[0] = static_cast<std::uint8_t>(value >> 8);
        bytes[1] = static_cast<std::uint8_t>(value);
        return *this;
    }
};

// A number in host byte order at any address.
template <class Int>
struct Unaligned {
    std::uint8_t bytes[sizeof(Int)];

    operator Int() const {
        Int value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    Unaligned &operator=(Int value) {
        std::memcpy(bytes, &value, sizeof value);
        return *this;
    }
};

static_assert(sizeof(Be16) == 2 && alignof(Be16) == 1);
static_assert(sizeof(Unaligned<std::uint32_t>) == 4 && alignof(Unaligned<std::uint32_t>) == 1);

}  // namespace ia
