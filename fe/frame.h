// A PPPoE Discovery frame in its datagram's buffer (RFC 2516).
//
//   0        107                        E      E+2            E+8
//   | record | dst src [VLAN tags ...] | 8863 | PPPoE header | tags ... | padding
//
// Positions are offsets from the buffer's first byte. The buffer goes on with
// zeros behind the frame, so headers and tags cut off by the frame's end read
// as zeros.
#pragma once

#include "fe/cursor.h"
#include "platform/kernel_modules.h"
#include "store/bridge.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ia {

inline constexpr std::size_t ethernet_start = sizeof(kvbridge_frame_hdr);
inline constexpr std::uint16_t ethertype_pppoe_discovery = 0x8863;
inline constexpr std::uint16_t ethertype_vlan = 0x8100;

// Bytes that a frame buffer holds beyond the largest datagram: three VLAN tags,
// both headers and a tag header can be read there.
inline constexpr std::size_t frame_slack = 64;

enum PppoeCode : std::uint8_t {
    PADI = 0x09,
    PADO = 0x07,
    PADR = 0x19,
    PADS = 0x65,
    PADT = 0xA7,
};

enum PppoeTag : std::uint16_t {
    TAG_END_OF_LIST = 0x0000,
    TAG_VENDOR_SPECIFIC = 0x0105,
    TAG_GENERIC_ERROR = 0x0203,
};

struct PppoeHeader {
    std::uint8_t version_type;
    std::uint8_t code;
    Be16 session_id;
    Be16 payload_length;
};
static_assert(sizeof(PppoeHeader) == 6);

struct EthernetAddresses {
    std::uint8_t destination[6];
    std::uint8_t source[6];
};

struct Tag {
    static constexpr std::size_t header_size = 4;

    std::size_t at;
    std::uint16_t type;
    std::uint16_t length;

    std::size_t size() const { return header_size + length; }
    std::size_t end() const { return at + size(); }
};

// The kernel's record and the frame behind it, in a buffer that goes on with
// zeros.
struct Datagram {
    std::vector<std::uint8_t> bytes;
    std::size_t end = 0;   // one past the datagram's last byte
    std::size_t used = 0;  // of these bytes, some may be other than zero

    // A datagram of this length has been written over the one before, whose rest
    // goes. An error reply's tag may stand behind a frame without payload.
    void receive(std::size_t length) {
        used = std::max(used, end + Tag::header_size);
        if (used > length)
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(length), used - length,
                        std::uint8_t{0});
        end = used = length;
    }
};

// One frame while it is processed, under its bridge's lock.
struct Frame {
    Frame(pppoeia_bridge &owner, Datagram &received) : bridge(owner), datagram(received) {}

    pppoeia_bridge &bridge;
    Datagram &datagram;
    pppoeia_port *port = nullptr;  // input port
    std::uint16_t vid = 0;         // outer VLAN id, 0 when untagged
    std::size_t pppoe = 0;         // position of the PPPoE header

    std::span<std::uint8_t> bytes() const { return datagram.bytes; }
    std::size_t end() const { return datagram.end; }

    kvbridge_frame_hdr &record() const { return at<kvbridge_frame_hdr>(0); }
    EthernetAddresses &addresses() const { return at<EthernetAddresses>(ethernet_start); }
    PppoeHeader &header() const { return at<PppoeHeader>(pppoe); }
    std::uint16_t be16_at(std::size_t position) const { return Cursor(bytes(), position).be16(); }

    std::size_t payload() const { return pppoe + sizeof(PppoeHeader); }
    std::size_t payload_end() const { return payload() + header().payload_length; }

    // The tag at a position, whatever the bytes there are.
    Tag tag_at(std::size_t position) const {
        Cursor cursor(bytes(), position);
        const std::uint16_t type = cursor.be16();
        return {position, type, cursor.be16()};
    }

    // The walk over the tags: the first begins inside the payload, each further
    // one also ends inside it.
    std::optional<Tag> first_tag() const {
        if (payload() >= payload_end()) return std::nullopt;
        return tag_at(payload());
    }
    std::optional<Tag> next_tag(const Tag &tag) const {
        const Tag next = tag_at(tag.end());
        if (next.end() > payload_end()) return std::nullopt;
        return next;
    }

private:
    // A record of bytes in the buffer. Fixed headers always lie inside it: the
    // slack is larger than all of them together.
    template <class Record>
    Record &at(std::size_t position) const {
        static_assert(alignof(Record) == 1);
        return *reinterpret_cast<Record *>(bytes().subspan(position, sizeof(Record)).data());
    }
};

const char *pppoe_code_name(std::uint8_t code);
const char *pppoeia_tag_name(std::uint16_t type);

}  // namespace ia
