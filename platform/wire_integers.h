// Integers in a frame or a record: byte arrays with conversions, so that a record
// may stand at any address.
#pragma once

#include <cstdint>
#include <cstring>

namespace ia {

struct be16 {
    std::uint8_t bytes[2];

    constexpr operator std::uint16_t() const {
        return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    }
    constexpr be16 &operator=(std::uint16_t value) {
        bytes[0] = static_cast<std::uint8_t>(value >> 8);
        bytes[1] = static_cast<std::uint8_t>(value);
        return *this;
    }
};

// A number in host byte order at any address.
template <class Int>
struct unaligned {
    std::uint8_t bytes[sizeof(Int)];

    operator Int() const {
        Int value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    unaligned &operator=(Int value) {
        std::memcpy(bytes, &value, sizeof value);
        return *this;
    }
};

static_assert(sizeof(be16) == 2 && alignof(be16) == 1);
static_assert(sizeof(unaligned<std::uint32_t>) == 4 && alignof(unaligned<std::uint32_t>) == 1);

}  // namespace ia
