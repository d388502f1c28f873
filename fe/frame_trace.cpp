#include "fe/frame_trace.h"

#include "fe/base/trace.h"
#include "fe/bridge_runtime.h"

#include <cstdio>

void pppoeia_dump_frame(const ia::Frame &frame, const char *prefix) {
    if (!ia::tracing()) return;
    constexpr std::size_t bytes_a_line = 16;
    char line[200];
    std::size_t used = 0;
    std::size_t in_line = 0;
    const auto write_line = [&] {
        if (in_line > 0) pppoeia_log(7, "<%s> %s %s", frame.bridge.name, prefix, line);
        used = in_line = 0;
    };
    for (std::size_t at = ia::ethernet_start; at < frame.end(); ++at) {
        const char *gap = ++in_line == bytes_a_line / 2 ? "  " : "";
        used += static_cast<std::size_t>(
            std::snprintf(line + used, sizeof line - used, "%02x %s", frame.bytes()[at], gap));
        if (in_line == bytes_a_line) write_line();
    }
    write_line();
}

namespace ia {

namespace {

int shown_length(const Frame &frame) {
    return static_cast<int>(frame.record().total_length) - frame_adjust;
}

const void *address_of(const Frame &frame, std::size_t position) {
    return frame.bytes().data() + position;
}

}  // namespace

void trace_received(const Frame &frame) {
    if (!tracing()) return;
    const kvbridge_frame_hdr &record = frame.record();
    const auto &[to, from] = frame.addresses();
    pppoeia_log(7,
                "<%s> >> @%.16s (%02x:%02x:%02x:%02x:%02x:%02x <-- "
                "%02x:%02x:%02x:%02x:%02x:%02x/%04x:%04x), %d bytes.",
                frame.bridge.name, record.input_device, to[0], to[1], to[2], to[3], to[4], to[5],
                from[0], from[1], from[2], from[3], from[4], from[5],
                static_cast<unsigned>(record.vlan), static_cast<unsigned>(record.cvlan),
                shown_length(frame));
    pppoeia_dump_frame(frame, ">>  ");
}

void trace_header(const Frame &frame) {
    if (!tracing()) return;
    const PppoeHeader &header = frame.header();
    pppoeia_log(7,
                "<%s>    PPPoE starts at offset %d, version=%d, type=%d, code=%s (%d), "
                "session_id=0x%04x, payload_length=%d",
                frame.bridge.name, static_cast<int>(frame.pppoe - ethernet_start),
                header.version_type >> 4, header.version_type & 0x0F, pppoe_code_name(header.code),
                header.code, static_cast<unsigned>(header.session_id),
                static_cast<int>(header.payload_length));
    pppoeia_log(7, "<%s>    Frame start=%p, frame end=%p, PPPoE start=%p, PPPoE end=%p",
                frame.bridge.name, address_of(frame, ethernet_start),
                address_of(frame, frame.end()), address_of(frame, frame.pppoe),
                address_of(frame, frame.payload_end()));
}

void trace_tags(const Frame &frame) {
    if (!tracing()) return;
    const auto trace_tag = [&](const Tag &tag) {
        pppoeia_log(7, "<%s>        %s (0x%04x), %d (0x%04x) bytes.", frame.bridge.name,
                    pppoeia_tag_name(tag.type), tag.type, tag.length, tag.length);
    };
    std::optional<Tag> tag = frame.first_tag();
    if (!tag) {
        trace_tag(frame.tag_at(frame.payload()));
        pppoeia_log(7, "<%s>          Past PPPoE end: %p >= %p", frame.bridge.name,
                    address_of(frame, frame.payload()), address_of(frame, frame.payload_end()));
        return;
    }
    for (; tag; tag = frame.next_tag(*tag)) {
        trace_tag(*tag);
        if (tag->type == TAG_END_OF_LIST) return;
    }
}

void trace_forwarded(const Frame &frame) {
    if (!tracing()) return;
    pppoeia_log(7, "<%s>    Frame is %d bytes, payload length %d bytes.", frame.bridge.name,
                shown_length(frame), static_cast<int>(frame.header().payload_length));
    pppoeia_dump_frame(frame, "    ");
    pppoeia_log(7, "<%s>    Forwarding frame to %.16s.", frame.bridge.name,
                frame.record().output_device);
    trace_tags(frame);
}

}  // namespace ia
