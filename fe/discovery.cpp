#include "fe/discovery.h"

#include "fe/base/trace.h"
#include "fe/frame.h"
#include "fe/frame_trace.h"
#include "fe/line_book.h"
#include "fe/vendor_tag.h"

namespace ia {

namespace {

void count(const Frame &frame, std::uint32_t pppoeia_stats::*counter) {
    ++(frame.bridge.stats.*counter);
    ++(frame.port->stats.*counter);
}

bool find_input_port(Frame &frame) {
    const std::uint32_t id = frame.record().input_port;
    frame.port = frame.bridge.port(id);
    if (!frame.port) {
        IA_TRACE("<%s> >> Input device '%.16s', %d not found.", frame.bridge.name,
                 frame.record().input_device, id);
        return false;
    }
    return true;
}

// Skips up to three tags: the bridge's S-Tag and two 0x8100 tags, or two 0x8100
// tags alone. Returns the position of the EtherType behind them.
std::size_t parse_vlan_tags(Frame &frame) {
    constexpr std::size_t tag_size = 4;
    std::size_t at = ethernet_start + sizeof(EthernetAddresses);
    Cursor outer(frame.bytes(), at);
    const std::uint16_t type = outer.be16();
    const bool service_tag = type == frame.bridge.stag_ethertype_nf;
    if (!service_tag && type != ethertype_vlan) return at;

    const std::uint16_t control = outer.be16();
    frame.vid = control & 0x0FFF;
    IA_TRACE("<%s> >> Found VLAN tag %04x (VID %d).", frame.bridge.name, control, frame.vid);
    at += tag_size;
    for (int inner = service_tag ? 2 : 1; inner > 0; --inner) {
        if (frame.be16_at(at) != ethertype_vlan) break;
        IA_TRACE("<%s> >> Found VLAN tag.", frame.bridge.name);
        at += tag_size;
    }
    return at;
}

bool vlan_enabled(const Frame &frame) {
    if (frame.port->faces_network()) {
        IA_TRACE("<%s> >> Skip VLAN check for interface: %d.", frame.bridge.name,
                 frame.port->port_id);
        return true;
    }
    if (frame.bridge.vlan_enabled.test(frame.vid)) return true;
    IA_TRACE("<%s> >> VID %04x (%d) not enabled.", frame.bridge.name, frame.vid, frame.vid);
    return false;
}

// Whether the port's role accepts this code.
bool role_allows(const Frame &frame) {
    const std::uint8_t code = frame.header().code;
    const char *device = frame.record().input_device;
    switch (frame.port->state) {
        case PPPOEIA_PORT_CLIENT:
            if (code == PADI || code == PADR || code == PADT) return true;
            IA_TRACE("<%s> >> Only PPPoE client is allowed on '%.16s'.", frame.bridge.name, device);
            return false;
        case PPPOEIA_PORT_SERVER:
            if (code == PADO || code == PADS || code == PADT) return true;
            IA_TRACE("<%s> >> Only PPPoE server is allowed on '%.16s'.", frame.bridge.name, device);
            return false;
        default: return true;
    }
}

// A new tag is inserted before an End-Of-List, else behind the last tag.
TagPlace find_vendor_tag(const Frame &frame) {
    std::size_t behind_last = frame.payload();
    for (std::optional<Tag> tag = frame.first_tag(); tag; tag = frame.next_tag(*tag)) {
        if (tag->type == TAG_VENDOR_SPECIFIC) return {tag, tag->at};
        if (tag->type == TAG_END_OF_LIST) return {std::nullopt, tag->at};
        behind_last = tag->end();
    }
    return {std::nullopt, behind_last > frame.end() ? frame.payload() : behind_last};
}

std::uint32_t pppoeia_stats::*counter_of(std::uint8_t code) {
    switch (code) {
        case PADI: return &pppoeia_stats::padi;
        case PADR: return &pppoeia_stats::padr;
        case PADO: return &pppoeia_stats::pado;
        case PADS: return &pppoeia_stats::pads;
        case PADT: return &pppoeia_stats::padt;
        default: return &pppoeia_stats::unknown_code;
    }
}

// Marks frames to the server, removes the tag from frames of the server.
Outcome edit(Frame &frame, const TagPlace &place, FrameIds &ids) {
    switch (frame.header().code) {
        case PADI:
        case PADR: return mark(frame, place, ids);
        case PADO:
        case PADS:
            if (place.own) return remove_vendor_tag(frame, *place.own);
            IA_TRACE("<%s>    No VSA tag to remove.", frame.bridge.name);
            return Outcome::forwarded;
        default: return Outcome::forwarded;
    }
}

Outcome examine(Frame &frame, FrameIds &ids) {
    if (tracing()) [[unlikely]]
        trace_received(frame);
    if (!find_input_port(frame)) return Outcome::unknown_port;

    const std::size_t ethertype_at = parse_vlan_tags(frame);
    if (!vlan_enabled(frame)) return Outcome::vlan_not_enabled;
    const std::uint16_t ethertype = frame.be16_at(ethertype_at);
    if (ethertype != ethertype_pppoe_discovery) {
        IA_TRACE("<%s> >> 0x%04x is not an PPPoE Discovery EtherType.", frame.bridge.name,
                 ethertype);
        return Outcome::not_discovery;
    }
    frame.pppoe = ethertype_at + sizeof ethertype;
    if (tracing()) [[unlikely]]
        trace_header(frame);
    if (frame.payload_end() > frame.end()) {
        IA_TRACE("<%s>    PPPoE PDU doesn't fit into frame.", frame.bridge.name);
        count(frame, &pppoeia_stats::truncated);
        return Outcome::payload_truncated;
    }
    if (tracing()) [[unlikely]]
        trace_tags(frame);

    if (frame.port->state == PPPOEIA_PORT_DISABLED) {
        IA_TRACE("<%s> >> PPPoE is disabled on '%.16s'. Forwarding unchanged.", frame.bridge.name,
                 frame.record().input_device);
        count(frame, &pppoeia_stats::bypassed);
        return Outcome::port_disabled;
    }
    if (!role_allows(frame)) {
        count(frame, &pppoeia_stats::dropped);
        return Outcome::wrong_role;
    }
    const TagPlace place = find_vendor_tag(frame);
    if (place.own) {
        IA_TRACE("<%s>    Found VSA tag.", frame.bridge.name);
        if (frame.port->trust == PPPOEIA_PORT_UNTRUSTED) {
            IA_TRACE("<%s>    Port is untrusted, there should be no VSA tag.", frame.bridge.name);
            count(frame, &pppoeia_stats::dropped);
            return Outcome::untrusted_tag;
        }
    }
    count(frame, counter_of(frame.header().code));
    const Outcome outcome = edit(frame, place, ids);
    if (tracing() && is_sent(outcome)) [[unlikely]]
        trace_forwarded(frame);
    return outcome;
}

}  // namespace

Outcome process_frame(pppoeia_bridge &bridge, Datagram &datagram, FrameIds &ids) {
    Frame frame(bridge, datagram);
    const Outcome outcome = examine(frame, ids);
    if (LineBook *lines = bridge.lines.get())
        if (outcome != Outcome::forwarded || !note_repeated(*lines, frame))
            note_frame(*lines, frame, outcome);
    if (is_sent(outcome)) return outcome;
    if (const auto counted = counted_as(outcome)) ++frame.port->outcomes[*counted];
    return outcome;
}

}  // namespace ia
