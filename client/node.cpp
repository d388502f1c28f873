// Client functions for the node's own operations.
#include "pppoeia/node.h"
#include "client/request.h"

namespace ia {

int hold_frames(const char *bridge, std::uint32_t port) {
    return call<hold_frames>(bridge, port);
}

int release_frames(const char *bridge, std::uint32_t port) {
    return call<release_frames>(bridge, port);
}

int check_bridge(const char *bridge) {
    return call<check_bridge>(bridge);
}

int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side) {
    return call<bind_port>(bridge, port, device, side);
}

int unbind_port(const char *bridge, std::uint32_t port) {
    return call<unbind_port>(bridge, port);
}

int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu) {
    return call<describe_bridge>(bridge, device, stag_ethertype, max_pdu);
}

int describe_board(std::uint32_t position, const char *management_device) {
    return call<describe_board>(position, management_device);
}

int macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                std::uint16_t cvid, const pppoeia_mac *client, MacroValueBlock *out) {
    return call<macro_value>(bridge, macro, port, vid, cvid, client, out);
}

int line_ids(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
             const pppoeia_mac *client, LineIdsBlock *out) {
    return call<line_ids>(bridge, port, vid, cvid, client, out);
}

int port_frames(const char *bridge, std::uint32_t port, PortFramesBlock *out) {
    return call<port_frames>(bridge, port, out);
}

int clear_port_frames(const char *bridge, std::uint32_t port) {
    return call<clear_port_frames>(bridge, port);
}

int line_rows(const char *bridge, std::uint32_t from, line_rows_block *out) {
    return call<line_rows>(bridge, from, out);
}

int line_story(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
               line_story_block *out) {
    return call<line_story>(bridge, port, vid, cvid, out);
}

int server_rows(const char *bridge, std::uint32_t from, server_rows_block *out) {
    return call<server_rows>(bridge, from, out);
}

int watch_frames(std::uint64_t *next) {
    return call<watch_frames>(next);
}

int watched_frame_get(std::uint64_t number, WatchedFrame *out) {
    return call<watched_frame_get>(number, out);
}

}  // namespace ia
