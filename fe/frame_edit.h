// The only writers of frame bytes.
#pragma once

#include "fe/frame.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace ia {

// Writes forward inside its span; what does not fit is not written.
class Writer {
public:
    explicit Writer(std::span<std::uint8_t> bytes) : rest_(bytes) {}

    void u8(std::uint8_t value) { put(&value, sizeof value); }
    void be16(std::uint16_t value) { big_endian<2>(value); }
    void be32(std::uint32_t value) { big_endian<4>(value); }
    void bytes(std::span<const std::uint8_t> values) { put(values.data(), values.size()); }

private:
    template <std::size_t Size>
    void big_endian(std::uint32_t value) {
        std::uint8_t wire[Size];
        for (std::size_t at = Size; at-- > 0; value >>= 8)
            wire[at] = static_cast<std::uint8_t>(value);
        put(wire, Size);
    }

    void put(const std::uint8_t *values, std::size_t count) {
        if (count > rest_.size()) return;
        std::copy_n(values, count, rest_.begin());
        rest_ = rest_.subspan(count);
    }

    std::span<std::uint8_t> rest_;
};

// Changes the record's total length, the frame's end and the payload length
// (16-bit arithmetic) together.
inline void change_lengths(Frame &frame, std::ptrdiff_t bytes) {
    const auto changed = [bytes](auto length) {
        return static_cast<std::ptrdiff_t>(length) + bytes;
    };
    frame.record().total_length = static_cast<std::uint32_t>(changed(frame.end()));
    frame.header().payload_length =
        static_cast<std::uint16_t>(changed(std::uint16_t{frame.header().payload_length}));
    frame.datagram.end = static_cast<std::size_t>(changed(frame.end()));
}

// Makes room for new_size bytes at a position in place of the old_size bytes
// there: moves what follows them, up to the frame's end, and patches the
// lengths. The caller has checked that the old bytes lie inside the frame and
// that the result fits the buffer.
inline void replace(Frame &frame, std::size_t position, std::size_t old_size,
                    std::size_t new_size) {
    if (new_size == old_size) return;
    const std::size_t from = position + old_size;
    const std::span<std::uint8_t> tail = frame.bytes().subspan(from, frame.end() - from);
    const std::span<std::uint8_t> place = frame.bytes().subspan(position + new_size, tail.size());
    std::memmove(place.data(), tail.data(), tail.size());
    change_lengths(frame,
                   static_cast<std::ptrdiff_t>(new_size) - static_cast<std::ptrdiff_t>(old_size));
}

// Takes bytes off the payload's and the frame's end.
inline void shorten(Frame &frame, std::size_t bytes) {
    change_lengths(frame, -static_cast<std::ptrdiff_t>(bytes));
}

}  // namespace ia
