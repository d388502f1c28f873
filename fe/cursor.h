// The only reader of frame bytes: big-endian, checked, with a sticky failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ia {

// Reads forward from a position. Past the end it reads zeros and stays failed.
class Cursor {
public:
    Cursor(std::span<const std::uint8_t> bytes, std::size_t at) : bytes_(bytes), at_(at) {}

    std::uint16_t be16() {
        if (!take(2)) return 0;
        return static_cast<std::uint16_t>(bytes_[at_ - 2] << 8 | bytes_[at_ - 1]);
    }

private:
    bool take(std::size_t count) {
        ok_ = ok_ && at_ <= bytes_.size() && count <= bytes_.size() - at_;
        if (ok_) at_ += count;
        return ok_;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t at_;
    bool ok_ = true;
};

}  // namespace ia
