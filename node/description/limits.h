// What the filter lets a subscriber's port do, and its bridge.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace ia::node {

// Of a port; what is not said is as its bridge says, or else as in usual_limits.
struct PortLimits {
    std::optional<std::uint32_t> line_rate{};     // frames a second of one line; 0: any number
    std::optional<std::uint32_t> line_burst{};    // frames at once
    std::optional<std::uint32_t> line_silence{};  // seconds, after it was above its rate
    std::optional<std::uint32_t> port_rate{};     // of all lines of the port together
    std::optional<std::uint32_t> port_burst{};
    std::optional<std::uint32_t> new_addresses{};  // at once; one a second after that
};

// A client sends a handful of frames to begin a session and repeats one after seconds; 125
// of them may share a line and begin at once, when power comes back. A port may have 4,000
// lines behind it: PADI, PADR and a repetition are 12,000 frames, some seconds apart.
inline constexpr PortLimits usual_limits{.line_rate = 20,
                                         .line_burst = 500,
                                         .line_silence = 0,
                                         .port_rate = 1000,
                                         .port_burst = 10'000,
                                         .new_addresses = 256};

// What is done about answers that nobody asked for and the like.
enum class Checks : std::uint32_t { off, watch, enforce };

using Address = std::array<std::uint8_t, 6>;

inline constexpr std::uint32_t servers_max = 64;

// Of a bridge.
struct BridgeLimits {
    std::uint32_t address_life = 300;     // seconds for which an address stays where it was
    std::uint32_t engine_rate = 100'000;  // frames a second; above it busy lines give way
    Checks checks = Checks::watch;
    std::vector<Address> servers;     // that may answer; with servers_first 0 and
    std::uint32_t servers_first = 0;  // none listed, all may
};

}  // namespace ia::node
