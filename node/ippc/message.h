// The messages of an IPPC channel. Numbers are little-endian.
//
//   0         1      2       4               8
//   | version | kind | count | id or result  | parameters ...
//
//   parameter:  | code (2) | direction (2) | length (4) | bytes |
//
// A request carries the function's id and all its parameters; outputs have no
// bytes. A reply carries the result and the outputs, a refusal nothing more. A
// channel is a SOCK_SEQPACKET socket, so a message always arrives whole.
#pragma once

#include "platform/ippc_request.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ia::node {

inline constexpr std::uint8_t ippc_version = 1;
inline constexpr std::size_t ippc_max_message = 65536;  // bytes

enum class MessageKind : std::uint8_t {
    request = 1,
    reply = 2,
    refusal = 3,  // the request was not run
};

using Bytes = std::vector<std::uint8_t>;

// Writes a message: its head, then `count` parameters.
void write_head(Bytes &message, MessageKind kind, std::size_t count, std::uint32_t word);
void write_param(Bytes &message, const platform::IppcParam &param);

// A parsed message. The parameters' bytes point into the message.
struct Message {
    MessageKind kind{};
    std::uint32_t word = 0;  // id or result
    std::size_t count = 0;
    std::array<platform::IppcParam, platform::ippc_max_params> param;

    std::span<const platform::IppcParam> params() const { return {param.data(), count}; }
};

// Parses a whole message. Returns the error, or nothing.
std::optional<std::string> read_message(std::span<const std::uint8_t> bytes, Message &out);

}  // namespace ia::node
