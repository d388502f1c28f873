// Builds one custom Circuit ID or Remote ID from its format.
#pragma once

#include "idgen/macros.h"
#include "store/bridge.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::size_t GENERATED_ID_MAX = PPPOEIA_ID_SIZE - 1;  // characters, or bytes

// Builds the ID of the subscriber on port `intfId`, VLAN `vid`, customer VLAN
// `cvid` (0xFFF: none). Text between the macros is taken as it is, and so are
// macros without a value or with options that do not fit them; a malformed
// macro ends the expansion.
//
// `binId` comes empty. When a macro was rendered in hexadecimal the ID is
// binary: `binId` holds it, at most 63 bytes, and `id` its uncut text form.
// Otherwise `id` holds it, at most 63 characters. Always true. The caller holds
// the bridge's lock.
bool genCustomId(const pppoeia_bridge *bridge, unsigned intfId, unsigned short vid,
                 unsigned short cvid, const std::string &format, std::string &id,
                 std::vector<std::uint8_t> &binId, idGenType genType);

namespace ia {

// A part of an ID's text whose digits spell bytes.
struct hex_run {
    std::size_t at;
    unsigned size;
};

// idStringToBinaryVector over runs in the order of their positions.
bool text_to_bytes(std::string_view text, std::span<const hex_run> runs,
                   std::vector<std::uint8_t> &out);

}  // namespace ia

// Appends the bytes of a text: each hex run (position and number of characters)
// as the bytes its digits spell, in pairs, all else as it stands. False when a
// run goes past the end of the text.
bool idStringToBinaryVector(const std::string &text,
                            const std::map<unsigned long, unsigned> &hexRuns,
                            std::vector<std::uint8_t> &out);
