// Every operation of the client API once, in an order in which each can
// succeed: what it sends, what it changes in the engine's store and in the
// client's.
#pragma once

#include "tests/support/datagrams.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ia::test {

// A parameter as it travels: code, direction, length, bytes.
inline Bytes text(std::string_view value) {
    Bytes bytes = hex("0000 0000 00000000");
    bytes[4] = static_cast<std::uint8_t>(value.size() + 1);
    bytes.insert(bytes.end(), value.begin(), value.end());
    bytes.push_back(0);
    return bytes;
}
inline Bytes block(std::uint8_t size, std::string_view content) {
    Bytes bytes = hex("0000 0000 00000000");
    bytes[0] = bytes[4] = size;
    return bytes + hex(content);
}
inline Bytes u16(std::uint16_t value) {
    return hex("0200 0000 02000000") +
           Bytes{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)};
}
inline Bytes u32(std::uint32_t value) {
    Bytes bytes = hex("0400 0000 04000000");
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}
inline Bytes output(std::uint8_t code) {
    Bytes bytes = hex("0000 0100 00000000");
    bytes[0] = code;
    return bytes;
}

inline Bytes request(std::uint16_t id, const std::vector<Bytes> &params) {
    Bytes bytes = hex("01 01 0000 00000000");
    bytes[2] = static_cast<std::uint8_t>(params.size());
    bytes[4] = static_cast<std::uint8_t>(id);
    bytes[5] = static_cast<std::uint8_t>(id >> 8);
    for (const Bytes &param : params) bytes = bytes + param;
    return bytes;
}

struct OperationRow {
    std::uint8_t id;
    std::vector<Bytes> params;
    std::function<int()> call;
    std::string (*look)();                     // reads what the call changes, in any process
    std::string in_engine;                     // what it reads after the call
    std::optional<std::string> in_store = {};  // unless the same
};

std::span<const OperationRow> operation_rows();

}  // namespace ia::test
