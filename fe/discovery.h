// PPPoE Discovery processing of one received frame.
#pragma once

#include "platform/frame_outcomes.h"
#include "store/bridge.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ia {

// The outcome of a frame's processing.
enum class Outcome : std::uint8_t {
    forwarded,        // checked, counted, perhaps changed
    answered,         // turned into an error reply to the client
    bridge_disabled,  // unchanged from here on
    vlan_not_enabled,
    port_disabled,
    unknown_port,  // dropped from here on
    not_discovery,
    payload_truncated,
    wrong_role,
    untrusted_tag,
    tag_truncated,
    no_local_mac,
    no_memory,
};

// How a dropped frame is counted at its port (platform/frame_outcomes.h).
constexpr std::optional<frame_outcome> counted_as(Outcome outcome) {
    switch (outcome) {
        case Outcome::not_discovery: return OUTCOME_NOT_DISCOVERY;
        case Outcome::payload_truncated: return OUTCOME_TRUNCATED;
        case Outcome::wrong_role: return OUTCOME_WRONG_ROLE;
        case Outcome::untrusted_tag: return OUTCOME_UNTRUSTED_TAG;
        case Outcome::tag_truncated: return OUTCOME_TAG_TRUNCATED;
        case Outcome::no_local_mac: return OUTCOME_NO_LOCAL_MAC;
        default: return std::nullopt;
    }
}

constexpr bool is_sent(Outcome outcome) {
    return outcome < Outcome::unknown_port;
}

// The binary forms of the current frame's IDs, empty for text IDs. Owned by the
// worker and kept between frames, so that their memory is reused.
struct FrameIds {
    std::vector<std::uint8_t> circuit_id;
    std::vector<std::uint8_t> remote_id;
};

struct Datagram;

// Processes the datagram in place. The caller holds the bridge's lock and sends
// the datagram when is_sent(). Throws std::bad_alloc when a new line's IDs find
// no memory; nothing is lost then but the frame.
Outcome process_frame(pppoeia_bridge &bridge, Datagram &datagram, FrameIds &ids);

}  // namespace ia
