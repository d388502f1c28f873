// A request as the server's process receives it from the IPPC library, and the
// answer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace ia::platform {

inline constexpr std::size_t ippc_max_params = 8;     // of a request
inline constexpr std::size_t ippc_max_text = 64;      // bytes of a text handed back
inline constexpr std::size_t ippc_max_output = 4096;  // bytes of one output

struct IppcParam {
    std::uint16_t code;                   // 0: text, else the block's size
    std::uint16_t direction;              // 0: input, 1: output
    std::span<const std::uint8_t> bytes;  // of an input, a text's with its terminator
};

// Valid during the dispatch of the request.
struct IppcRequest {
    std::uint32_t function;
    std::span<const IppcParam> params;
};

struct IppcOutput {
    std::uint16_t code;
    std::uint16_t size;  // bytes used
    std::array<std::uint8_t, ippc_max_output> bytes;
};

struct IppcAnswer {
    std::int32_t result = 0;
    std::size_t outputs = 0;  // how many of `output`, in index order
    std::array<IppcOutput, ippc_max_params> output;
};

// Runs the requested function. False refuses the request, which has changed
// nothing: the caller gets an error in place of a result.
using IppcDispatch = std::function<bool(const IppcRequest &, IppcAnswer &)>;

}  // namespace ia::platform
