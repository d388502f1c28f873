// One datagram through the engine's processing.
//
// Properties: for any input, the buffer behind a frame that fits stays zero. A
// well-formed PADI or PADR that the engine marks parses again, has exactly one
// Vendor-Specific tag, keeps all other tags in their order and both addresses, and
// has a payload length that fits its tags.
#include "fe/base/trace.h"
#include "fe/discovery.h"
#include "fe/frame.h"
#include "fuzz/check.h"
#include "pppoeia/store.h"
#include "store/bridge_list.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr char name[] = "br0";
constexpr std::uint32_t mtu = 1615;
constexpr std::size_t buffer_size = mtu + ia::ethernet_start + ia::frame_slack;

struct ParsedTag {
    std::uint16_t type;
    Bytes bytes;
};

struct Parsed {
    std::size_t tags_at = 0;
    std::vector<ParsedTag> tags;  // up to End-Of-List
    Bytes rest;                   // from End-Of-List to the payload's end
};

std::uint16_t be16(const Bytes &frame, std::size_t at) {
    return static_cast<std::uint16_t>(frame.at(at) << 8 | frame.at(at + 1));
}

// Parses a Discovery frame behind at most three VLAN tags: every tag inside its
// payload, the payload inside the frame.
std::optional<Parsed> parse(const Bytes &frame) {
    if (frame.size() < 14) return std::nullopt;
    std::size_t at = 12;
    for (int tags = 0; tags < 3 && at + 6 <= frame.size(); ++tags) {
        const std::uint16_t type = be16(frame, at);
        if (type != 0x8100 && type != 0x88A8) break;
        at += 4;
    }
    if (at + 8 > frame.size() || be16(frame, at) != 0x8863) return std::nullopt;
    Parsed parsed{at + 8, {}, {}};
    const std::size_t end = parsed.tags_at + be16(frame, at + 6);
    if (end > frame.size()) return std::nullopt;
    for (at = parsed.tags_at; at < end;) {
        if (at + 4 > end || at + 4 + be16(frame, at + 2) > end) return std::nullopt;
        if (be16(frame, at) == 0) break;
        const std::size_t next = at + 4 + be16(frame, at + 2);
        parsed.tags.push_back({be16(frame, at), Bytes(frame.begin() + static_cast<long>(at),
                                                      frame.begin() + static_cast<long>(next))});
        at = next;
    }
    parsed.rest.assign(frame.begin() + static_cast<long>(at),
                       frame.begin() + static_cast<long>(end));
    return parsed;
}

std::size_t vendor_tags(const Parsed &frame) {
    return static_cast<std::size_t>(
        std::ranges::count(frame.tags, std::uint16_t{0x0105}, &ParsedTag::type));
}

Bytes others(const Parsed &frame) {
    Bytes bytes;
    for (const ParsedTag &tag : frame.tags)
        if (tag.type != 0x0105) bytes.insert(bytes.end(), tag.bytes.begin(), tag.bytes.end());
    bytes.insert(bytes.end(), frame.rest.begin(), frame.rest.end());
    return bytes;
}

void check_marked(const Bytes &before, const Bytes &after) {
    const std::optional<Parsed> in = parse(before);
    if (!in || vendor_tags(*in) > 1) return;
    const std::optional<Parsed> out = parse(after);
    MUST(out);
    MUST(vendor_tags(*out) == 1);
    MUST(others(*in) == others(*out));
    // Addresses, tags, EtherType, version, code and session; padding behind.
    MUST(std::equal(before.begin(), before.begin() + static_cast<long>(in->tags_at) - 2,
                    after.begin()));
    const std::size_t payload_in = in->tags_at + be16(before, in->tags_at - 2);
    const std::size_t payload_out = out->tags_at + be16(after, out->tags_at - 2);
    MUST(Bytes(before.begin() + static_cast<long>(payload_in), before.end()) ==
         Bytes(after.begin() + static_cast<long>(payload_out), after.end()));
}

void make_bridge() {
    pppoeia_log_level = -1;
    pppoeia_cache_init();
    pppoeia_cache_on_bridge_add(name, 4);
    pppoeia_port_info info{};
    cache_pppoeia_port_add(name, 1, "sub1", "1/1/1", &info);
}

void configure(FuzzedDataProvider &input) {
    cache_pppoeia_port_state_set(name, 1, input.ConsumeIntegralInRange<std::int32_t>(0, 4));
    cache_pppoeia_port_trust_set(name, 1, input.ConsumeBool());
    const bool vlans = input.ConsumeIntegralInRange(0, 7) != 0;
    vlans ? ia::LockedBridge(name)->vlan_enabled.set()
          : ia::LockedBridge(name)->vlan_enabled.reset();
    cache_pppoeia_bridge_vsa_mode_set(name, input.ConsumeBool());
    cache_pppoeia_bridge_vsa_insert_circuit_id_set(name, input.ConsumeBool());
    cache_pppoeia_bridge_vsa_insert_remote_id_set(name, input.ConsumeBool());
    cache_pppoeia_port_vsa_circuit_id_mode_set(name, 1, input.ConsumeIntegralInRange(0U, 3U));
    cache_pppoeia_circuit_id_format_set(name, input.ConsumeRandomLengthString(129).c_str());
    cache_pppoeia_remote_id_format_set(name, input.ConsumeRandomLengthString(129).c_str());
}

void append16(Bytes &bytes, std::size_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

// The correct length, or occasionally another one.
std::size_t length_or_lie(FuzzedDataProvider &input, std::size_t length) {
    return input.ConsumeIntegralInRange(0, 15) == 0 ? input.ConsumeIntegral<std::uint16_t>()
                                                    : length;
}

Bytes shaped_tags(FuzzedDataProvider &input) {
    Bytes tags;
    for (int count = input.ConsumeIntegralInRange(0, 6); count > 0; --count) {
        const std::uint16_t type = input.PickValueInArray<std::uint16_t>(
            {0x0000, 0x0101, 0x0102, 0x0103, 0x0104, 0x0105, 0x0105, 0x0110, 0x0120, 0x0203});
        Bytes value;
        if (type == 0x0105 && input.ConsumeBool()) value = {0, 0, 0x0D, 0xE9};
        const Bytes more =
            input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 300));
        value.insert(value.end(), more.begin(), more.end());
        append16(tags, type);
        append16(tags, length_or_lie(input, value.size()));
        tags.insert(tags.end(), value.begin(), value.end());
    }
    return tags;
}

// A Discovery frame (RFC 2516) as a peer would send it, with a few wrong values.
Bytes shaped_datagram(FuzzedDataProvider &input) {
    Bytes bytes(ia::ethernet_start, 0);
    const std::size_t addresses = bytes.size() + 12;
    bytes.resize(addresses, 0x02);
    for (int stack = input.ConsumeIntegralInRange(0, 4); stack > 0; --stack) {
        append16(bytes, input.PickValueInArray<std::uint16_t>({0x8100, 0x88A8}));
        append16(bytes, input.ConsumeIntegral<std::uint16_t>());
    }
    append16(bytes, 0x8863);
    bytes.push_back(0x11);
    bytes.push_back(input.PickValueInArray<std::uint8_t>(
        {ia::PADI, ia::PADI, ia::PADO, ia::PADR, ia::PADS, ia::PADT, 0x00}));
    append16(bytes, input.ConsumeIntegralInRange<std::size_t>(0, 1));
    const Bytes tags = shaped_tags(input);
    append16(bytes, length_or_lie(input, tags.size()));
    bytes.insert(bytes.end(), tags.begin(), tags.end());
    bytes.resize(bytes.size() + input.ConsumeIntegralInRange<std::size_t>(0, 46));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const bool made = (make_bridge(), true);
    static_cast<void>(made);
    FuzzedDataProvider input(data, size);
    configure(input);

    const ia::LockedBridge bridge(name);
    bridge->mtu = mtu;
    bridge->max_pdu = input.ConsumeIntegralInRange<std::uint32_t>(0, mtu);
    bridge->stag_ethertype_nf = 0x88A8;
    Bytes datagram = input.ConsumeIntegralInRange(0, 7) == 0
                         ? input.ConsumeRemainingBytes<std::uint8_t>()
                         : shaped_datagram(input);
    if (datagram.size() > mtu + 106) datagram.resize(mtu + 106);
    ia::Datagram buffer{.bytes = Bytes(buffer_size), .end = datagram.size()};
    std::ranges::copy(datagram, buffer.bytes.begin());
    kvbridge_frame_hdr &record = ia::Frame(*bridge, buffer).record();
    record.total_length = static_cast<std::uint32_t>(datagram.size());
    record.input_port = 1;

    ia::FrameIds ids;
    const ia::Outcome outcome = ia::process_frame(*bridge, buffer, ids);
    const std::uint32_t total = record.total_length;
    if (!ia::is_sent(outcome)) return 0;
    MUST(total <= buffer_size);
    if (outcome != ia::Outcome::forwarded || datagram.size() <= ia::ethernet_start) return 0;
    const auto frame_of = [](const auto &bytes, std::size_t end) {
        return Bytes(bytes.begin() + ia::ethernet_start, bytes.begin() + static_cast<long>(end));
    };
    const Bytes before = frame_of(datagram, datagram.size());
    const std::optional<Parsed> in = parse(before);
    if (!in) return 0;
    const std::uint8_t code = before[in->tags_at - 5];
    if (code == ia::PADI || code == ia::PADR) {
        MUST(total - ia::ethernet_start <= bridge->max_pdu);
        check_marked(before, frame_of(buffer.bytes, total));
    }
    return 0;
}
