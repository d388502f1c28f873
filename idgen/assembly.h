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

inline constexpr std::size_t generated_id_max = PPPOEIA_ID_SIZE - 1;  // characters, or bytes

// Builds the ID of the subscriber on port `intf_id`, VLAN `vid`, customer VLAN
// `cvid` (0xFFF: none). Text between macros is copied unchanged. So are macros that
// have no value and macros whose options do not fit. A malformed macro ends the
// expansion.
//
// `bin_id` is empty on entry. If a macro was rendered in hexadecimal, the ID is
// binary: `bin_id` gets it, at most 63 bytes, and `id` its text form, not cut.
// Otherwise `id` gets it, at most 63 characters. The result is always true. The
// caller holds the bridge's lock.
bool genCustomId(const pppoeia_bridge *bridge, unsigned intf_id, unsigned short vid,
                 unsigned short cvid, const std::string &format, std::string &id,
                 std::vector<std::uint8_t> &bin_id, idGenType gen_type);

namespace ia {

// A part of an ID's text whose digits spell bytes.
struct HexRun {
    std::size_t at;
    unsigned size;
};

// idStringToBinaryVector for runs sorted by position.
bool text_to_bytes(std::string_view text, std::span<const HexRun> runs,
                   std::vector<std::uint8_t> &out);

}  // namespace ia

// Appends the bytes of a text. Each hex run (position and number of characters)
// gives the bytes that its digits spell, in pairs; other characters are copied.
// False when a run ends behind the text.
bool idStringToBinaryVector(const std::string &text,
                            const std::map<unsigned long, unsigned> &hex_runs,
                            std::vector<std::uint8_t> &out);
