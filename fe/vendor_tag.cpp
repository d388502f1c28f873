#include "fe/vendor_tag.h"

#include "fe/base/local_mac.h"
#include "fe/base/notice.h"
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "fe/frame_edit.h"
#include "idgen/selection.h"

#include <cstring>

namespace ia {

namespace {

constexpr std::uint32_t vendor_id = 0x00000DE9;  // the Broadband Forum's enterprise number
constexpr std::uint8_t suboption_circuit_id = 1;
constexpr std::uint8_t suboption_remote_id = 2;
constexpr std::size_t vendor_id_size = 4;
constexpr std::size_t suboption_header_size = 2;

// One ID of the line: its text, and the bytes that are sent.
struct Id {
    char text[PPPOEIA_ID_SIZE] = "";
    std::span<const std::uint8_t> sent;
};

// The binary form takes precedence over the text.
template <class Builder>
void build_id(const Frame &frame, Builder build, std::vector<std::uint8_t> &binary,
              const char *which, Id &id) {
    build(id.text, &frame.bridge, frame.port, frame.vid, binary, ID_GEN_FRAME);
    if (binary.empty()) {
        id.sent = {reinterpret_cast<const std::uint8_t *>(id.text), std::strlen(id.text)};
    } else {
        IA_TRACE("<%s>    Using %s bin.", frame.bridge.name, which);
        id.sent = binary;
    }
    if (id.sent.size() >= PPPOEIA_ID_SIZE) id.sent = id.sent.first(PPPOEIA_ID_SIZE - 1);
}

std::size_t tag_size(const pppoeia_bridge &bridge, const Id &circuit_id, const Id &remote_id) {
    std::size_t size = Tag::header_size + vendor_id_size;
    if (bridge.vsa_insert_circuit_id) size += suboption_header_size + circuit_id.sent.size();
    if (bridge.vsa_insert_remote_id) size += suboption_header_size + remote_id.sent.size();
    return size;
}

void trace_size_change(const Frame &frame, std::size_t new_size, std::size_t old_size) {
    const char *bridge = frame.bridge.name;
    if (new_size > old_size)
        IA_TRACE("<%s>    VSA tag stretched by %d bytes.", bridge,
                 static_cast<int>(new_size - old_size));
    else if (new_size == old_size)
        IA_TRACE("<%s>    VSA tag size fits.", bridge);
    else
        IA_TRACE("<%s>    VSA tag cut by %d bytes.", bridge, static_cast<int>(old_size - new_size));
}

void write_suboption(Writer &writer, std::uint8_t number, const Id &id) {
    writer.u8(number);
    writer.u8(static_cast<std::uint8_t>(id.sent.size()));
    writer.bytes(id.sent);
}

void write_tag(const Frame &frame, std::size_t position, std::size_t size, const Id &circuit_id,
               const Id &remote_id) {
    const pppoeia_bridge &bridge = frame.bridge;
    Writer writer(frame.bytes().subspan(position, size));
    writer.be16(TAG_VENDOR_SPECIFIC);
    writer.be16(static_cast<std::uint16_t>(size - Tag::header_size));
    writer.be32(vendor_id);
    if (bridge.vsa_insert_circuit_id) {
        write_suboption(writer, suboption_circuit_id, circuit_id);
        IA_TRACE("<%s>    Added Circuit ID '%s' (%d bytes).", bridge.name, circuit_id.text,
                 static_cast<int>(circuit_id.sent.size()));
    }
    if (bridge.vsa_insert_remote_id) {
        write_suboption(writer, suboption_remote_id, remote_id);
        IA_TRACE("<%s>    Added Remote Agent ID '%s' (%d bytes).", bridge.name, remote_id.text,
                 static_cast<int>(remote_id.sent.size()));
    }
}

// Sends the request back to its client as a PADO or PADS with a Generic-Error
// tag. Its size stays; what follows the tag is filled with 0xFF.
Outcome answer_with_error(Frame &frame) {
    IA_TRACE("<%s>    MTU exceeded.", frame.bridge.name);
    kvbridge_frame_hdr &record = frame.record();
    std::memcpy(record.output_device, record.input_device, sizeof record.output_device);
    copy_text(record.input_device, frame.bridge.pseudo_dev);

    std::uint8_t local_mac[6];
    if (pppoeia_get_local_mac(local_mac) != 0) {
        static Notice notice;
        notice.log(3, "<%s>    Error getting local MAC.", frame.bridge.name);
        return Outcome::no_local_mac;
    }
    auto &[destination, source] = frame.addresses();
    std::memcpy(destination, source, sizeof destination);
    std::memcpy(source, local_mac, sizeof source);

    frame.header().code = frame.header().code == PADI ? PADO : PADS;
    frame.header().payload_length = Tag::header_size;
    Writer writer(frame.bytes().subspan(frame.payload(), Tag::header_size));
    writer.be16(TAG_GENERIC_ERROR);
    writer.be16(0);
    const std::size_t tag_end = frame.payload() + Tag::header_size;
    if (tag_end < frame.end())
        std::ranges::fill(frame.bytes().subspan(tag_end, frame.end() - tag_end),
                          std::uint8_t{0xFF});
    return Outcome::answered;
}

}  // namespace

Outcome mark(Frame &frame, const TagPlace &place, FrameIds &ids) {
    const pppoeia_bridge &bridge = frame.bridge;
    const auto &[own, position] = place;
    if (own && own->end() > frame.end()) return Outcome::tag_truncated;

    const kvbridge_frame_hdr &record = frame.record();
    FrameValues &values = frame.bridge.frame.emplace(
        FrameValues{.vlan = record.vlan, .cvlan = record.cvlan, .client = {}});
    std::ranges::copy(frame.addresses().source, values.client.bytes);

    Id circuit_id;
    Id remote_id;
    build_id(frame, pppoeia_build_circuit_id, ids.circuit_id, "CID", circuit_id);
    build_id(frame, pppoeia_build_remote_id, ids.remote_id, "RID", remote_id);

    const std::size_t size = tag_size(bridge, circuit_id, remote_id);
    const std::size_t old_size = own ? own->size() : 0;
    if (!own) IA_TRACE("<%s>    VSA tag will be added.", bridge.name);
    trace_size_change(frame, size, old_size);
    const std::uint32_t total = frame.record().total_length;
    if (total + size - old_size - ethernet_start > bridge.max_pdu) return answer_with_error(frame);

    replace(frame, position, old_size, size);
    write_tag(frame, position, size, circuit_id, remote_id);
    return Outcome::forwarded;
}

Outcome remove_vendor_tag(Frame &frame, const Tag &tag) {
    if (frame.bridge.vsa_mode != PPPOEIA_VSA_REMOVE) {
        IA_TRACE("<%s>    VSA tag kept.", frame.bridge.name);
        return Outcome::forwarded;
    }
    if (tag.end() > frame.end()) return Outcome::tag_truncated;
    // A last tag is left behind the shortened payload, where it is padding.
    if (frame.next_tag(tag))
        replace(frame, tag.at, tag.size(), 0);
    else
        shorten(frame, tag.size());
    IA_TRACE("<%s>    Removed VSA tag.", frame.bridge.name);
    return Outcome::forwarded;
}

}  // namespace ia
