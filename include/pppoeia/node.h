// The node's own operations, beside the client API. They travel the same way; their
// ids start at 1000 (client/node_operations.h). The first function of each pair is the
// client's, with the results of pppoeia/client.h; the second, whose name begins with
// fe_, runs in the engine's process.
#pragma once

#include "pppoeia/lines.h"
#include "pppoeia/records.h"

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)

namespace ia {

// Holds, that is drops, the Discovery frames of a bridge's port, or of the whole bridge
// for port 0, until release_frames(). Port and bridge need not exist yet. Releasing
// port 0 releases every port. Returns 0, -22 for an impossible name or port, or another
// negative errno value when the filter could not be set: frames to be held may then still
// pass until the engine has repaired that, and frames to be released stay held.
int hold_frames(const char *bridge, std::uint32_t port);
int fe_hold_frames(const char *bridge, std::uint32_t port);

int release_frames(const char *bridge, std::uint32_t port);
int fe_release_frames(const char *bridge, std::uint32_t port);

// Binds a Linux device to a bridge's port, with the side that it faces. Earlier
// bindings of that port or that device end; the frames of a device without a port are
// held. Bridge and device need not exist yet. The frames of a bound device pass at
// once, unless the port is held. Returns 0, -22 for an impossible name, port or side,
// or another negative errno value when the filter could not be set.
inline constexpr std::uint32_t side_subscriber = 0, side_network = 1;
int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side);
int fe_bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side);

// Ends a port's binding; 0 also when there is none. The device's frames are held as
// long as it is a member of the bridge; a device outside the bridge loses the filter.
int unbind_port(const char *bridge, std::uint32_t port);
int fe_unbind_port(const char *bridge, std::uint32_t port);

// Sets the properties of a bridge, new or known: its Linux device, the EtherType of its
// S-Tags, and its largest Ethernet frame in bytes. From this call on its Discovery
// frames go through the engine or are dropped. An empty device ends the bridge: its
// ports lose the filter. Returns 0, -22 for values that the filter cannot serve, -28
// for more than 16 bridges, or another negative errno value when the filter could not
// be set.
int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu);
int fe_describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                       std::uint32_t max_pdu);

// Tells the engine its board's position in the node, and the device from whose address it
// answers. -22 for a position above 255 or an impossible name.
int describe_board(std::uint32_t position, const char *management_device);
int fe_describe_board(std::uint32_t position, const char *management_device);

// Checks that the engine receives the bridge's frames. 0 when it does, or when the
// bridge's Linux device does not exist; -19 when the pseudo device is gone; -90 when
// the node's frames are larger than it takes; -2 for a bridge that was not described.
// After -19 or -90 the bridge must be created again.
// Two results mean that frames arrive, but that netfilter does not hold a device that
// joins the bridge until it has its filter: -92 when the rules were taken away, -95 when
// the kernel has no netfilter for bridges.
int check_bridge(const char *bridge);
int fe_check_bridge(const char *bridge);

// --- outcomes of a port's frames -------------------------------------------------
inline constexpr std::size_t frame_outcomes_max = 48;  // of the block below

struct PortFramesBlock {
    std::uint64_t outcomes[frame_outcomes_max];  // by frame_outcome, of what came in
    std::uint64_t sent[6];                       // by sent_code, of what went out by the port
};
static_assert(sizeof(PortFramesBlock) == 8 * 54);

// The counts of filter and engine (platform/frame_outcomes.h) since the port was bound
// or its counts were cleared. -2 unknown bridge, -19 no such port.
int port_frames(const char *bridge, std::uint32_t port, PortFramesBlock *out);
int fe_port_frames(const char *bridge, std::uint32_t port, PortFramesBlock *out);

int clear_port_frames(const char *bridge, std::uint32_t port);
int fe_clear_port_frames(const char *bridge, std::uint32_t port);

// --- values of macros ----------------------------------------------------------
struct MacroValueBlock {
    std::uint32_t known;  // 0: the macro never has a value
    char text[124];
};
static_assert(sizeof(MacroValueBlock) == 128);

// The value of a macro (its customIdFormat) for a client on this port, VLAN and
// customer VLAN (0xFFF: none). A client address of zeros means no client. -2 unknown
// bridge, -19 no such port, -22 no such macro.
int macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                std::uint16_t cvid, const pppoeia_mac *client, MacroValueBlock *out);
int fe_macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                   std::uint16_t cvid, const pppoeia_mac *client, MacroValueBlock *out);

// --- IDs of a line ---------------------------------------------------------------
struct GeneratedId {
    std::uint32_t size;    // bytes sent, at most 63
    std::uint32_t binary;  // 1: `bytes` is sent, and `text` shows it
    char text[64];
    std::uint8_t bytes[64];
};

struct LineIdsBlock {
    GeneratedId circuit_id;
    GeneratedId remote_id;
};
static_assert(sizeof(LineIdsBlock) == 272);

// The IDs that the present settings give a PADI of this client on this port, VLAN
// (0xFFF: none) and customer VLAN. A client address of zeros means no client. If the
// customer VLAN is unknown (0xFFF), the default form shows "<cvid>" in its place. -2
// unknown bridge, -19 no such port, -12 without memory.
int line_ids(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
             const pppoeia_mac *client, LineIdsBlock *out);
int fe_line_ids(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
                const pppoeia_mac *client, LineIdsBlock *out);

// --- lines and servers ----------------------------------------------------------
// The lines that the engine knows, a page at a time: from 0, then from `next`. A line
// that comes or goes meanwhile may be missing or there twice. -2 unknown bridge.
int line_rows(const char *bridge, std::uint32_t from, line_rows_block *out);
int fe_line_rows(const char *bridge, std::uint32_t from, line_rows_block *out);

// All that is known of one line. -2 unknown bridge, -3 no such line.
int line_story(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
               line_story_block *out);
int fe_line_story(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
                  line_story_block *out);

// The servers that have answered, in pages likewise.
int server_rows(const char *bridge, std::uint32_t from, server_rows_block *out);
int fe_server_rows(const char *bridge, std::uint32_t from, server_rows_block *out);

// --- frames as the engine sees them ----------------------------------------------
inline constexpr std::size_t watched_frame_size = 1536;  // bytes kept of a frame

// A Discovery frame as it came and as the engine left it. Lengths are the
// frames' own; what is longer than watched_frame_size is cut.
struct WatchedFrame {
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
static_assert(sizeof(WatchedFrame) == 128 + 2 * watched_frame_size);

// Starts to keep the last frames of all bridges, 256 at most. They are kept for
// watch_lease_s after the last of these calls; then the engine forgets them.
// `next` becomes the number of the next frame to come. -12 without memory.
inline constexpr int watch_lease_s = 5;
int watch_frames(std::uint64_t *next);
int fe_watch_frames(std::uint64_t *next);

// The first frame that is kept whose number is not below `number`. 1 when there
// is none yet, -2 when frames are not kept (any more).
int watched_frame_get(std::uint64_t number, WatchedFrame *out);
int fe_watched_frame_get(std::uint64_t number, WatchedFrame *out);

}  // namespace ia

#pragma GCC visibility pop
