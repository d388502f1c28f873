// Frames and datagrams written as hexadecimal text.
#pragma once

#include "platform/kernel_modules.h"

#include <cctype>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ia::test {

using Bytes = std::vector<std::uint8_t>;

inline int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    throw std::invalid_argument("not a lower-case hexadecimal digit");
}

// "0102 ff" -> three bytes. Blanks are for the reader; "'text'" stands for its
// characters.
inline Bytes hex(std::string_view text) {
    Bytes bytes;
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == ' ') {
            ++i;
        } else if (text[i] == '\'') {
            for (++i; text[i] != '\''; ++i) bytes.push_back(static_cast<std::uint8_t>(text[i]));
            ++i;
        } else {
            bytes.push_back(
                static_cast<std::uint8_t>(hex_digit(text[i]) << 4 | hex_digit(text.at(i + 1))));
            i += 2;
        }
    }
    return bytes;
}

inline std::string to_hex(const Bytes &bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

inline Bytes operator+(Bytes left, const Bytes &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// What the bridge module puts in front of a frame.
struct Record {
    std::uint16_t port = 1;
    std::uint16_t vlan = 0;
    std::uint16_t cvlan = KVBRIDGE_NO_CVLAN;
    std::string in = "sub1";
    std::string out = "net0";
};

// Sixteen characters fill the field whole, without a terminator.
inline void put_name(char (&field)[16], const std::string &name) {
    std::memset(field, 0, sizeof field);
    name.copy(field, sizeof field);
}

inline Bytes datagram(const Record &record, const Bytes &frame) {
    kvbridge_frame_hdr header;
    std::memset(&header, 0xA5, sizeof header);  // the module's own bytes
    header.vlan = record.vlan;
    header.cvlan = record.cvlan;
    header.total_length = static_cast<std::uint32_t>(sizeof header + frame.size());
    header.input_port = record.port;
    put_name(header.input_device, record.in);
    put_name(header.output_device, record.out);
    Bytes bytes(sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes + frame;
}

}  // namespace ia::test
