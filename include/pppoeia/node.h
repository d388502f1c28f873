// Operations that a node of ours has beyond the client API. They travel the
// same way, with ids from 1000 up (client/node_operations.h). The first of each
// pair is the client's function, with the results of pppoeia/client.h; the
// second, whose name begins with fe_, runs in the engine's process.
#pragma once

#include "pppoeia/records.h"

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)

namespace ia {

// Holds the Discovery frames of a bridge's port, which is to say drops them, or
// those of the whole bridge for port 0, also while there is no such port or
// bridge yet: until release_frames(), nothing passes unmarked. Releasing port 0
// releases every port. Returns 0, or -22 for an impossible name or port.
int hold_frames(const char *bridge, std::uint32_t port);
int fe_hold_frames(const char *bridge, std::uint32_t port);

int release_frames(const char *bridge, std::uint32_t port);
int fe_release_frames(const char *bridge, std::uint32_t port);

// Whether the engine gets the bridge's frames. 0 when it does, or has none to
// get because there is no such device; -19 when its pseudo device is gone, -90
// when the node's frames have outgrown it, -2 for no bridge of the node: -19 and
// -90 are healed by making the bridge anew.
int check_bridge(const char *bridge);
int fe_check_bridge(const char *bridge);

// --- values of macros ----------------------------------------------------------
struct macro_value_block {
    std::uint32_t known;  // 0: the macro never has a value
    char text[124];
};
static_assert(sizeof(macro_value_block) == 128);

// What a macro (its customIdFormat) would be replaced with for a client on this
// port and VLAN and customer VLAN (0xFFF: none); an address of zeros is none.
// -2 unknown bridge, -19 no such port, -22 no such macro.
int macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                std::uint16_t cvid, const pppoeia_mac *client, macro_value_block *out);
int fe_macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                   std::uint16_t cvid, const pppoeia_mac *client, macro_value_block *out);

// --- frames as the engine sees them ----------------------------------------------
inline constexpr std::size_t watched_frame_size = 1536;  // bytes kept of a frame

// A Discovery frame as it came and as the engine left it. Lengths are the
// frames' own; what is longer than watched_frame_size is cut.
struct watched_frame {
    std::uint64_t number;   // in the order of arrival, from 0
    std::uint64_t time_ns;  // since 1970
    std::uint32_t port;     // input port
    std::uint16_t came_length;
    std::uint16_t left_length;
    char bridge[16];
    char input_device[16];
    char output_device[16];
    char verdict[16];  // "forwarded", "answered" or "dropped"
    char reason[40];   // empty when there is none
    std::uint8_t came[watched_frame_size];
    std::uint8_t left[watched_frame_size];
};
static_assert(sizeof(watched_frame) == 128 + 2 * watched_frame_size);

// Starts to keep the last frames of all bridges, 256 at most. They are kept for
// watch_lease_s after the last of these calls; then the engine forgets them.
// `next` becomes the number of the next frame to come. -12 without memory.
inline constexpr int watch_lease_s = 5;
int watch_frames(std::uint64_t *next);
int fe_watch_frames(std::uint64_t *next);

// The first frame that is kept whose number is not below `number`. 1 when there
// is none yet, -2 when frames are not kept (any more).
int watched_frame_get(std::uint64_t number, watched_frame *out);
int fe_watched_frame_get(std::uint64_t number, watched_frame *out);

}  // namespace ia

#pragma GCC visibility pop
