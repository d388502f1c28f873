// The vocabulary of custom ID formats: the macros, their options, and the options
// that exclude each other.
//
// A macro in a format is "$", an option block and a name, as in "$z4PORT".
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

enum customIdFormat : std::uint32_t {
    MACRO_SHELF,
    MACRO_CHASSIS,
    MACRO_PANEL,
    MACRO_INTF_TYPE,
    MACRO_AGENT_BOARD,
    MACRO_BOARD,
    MACRO_PORT,
    MACRO_PORT_REM_ID,
    MACRO_INTF,
    MACRO_INTF_DSCR,
    MACRO_ONU,
    MACRO_VGEM,
    MACRO_TCONT,
    MACRO_PVC_INTF,
    MACRO_VPI,
    MACRO_VCI,
    MACRO_CLNT_MAC,
    MACRO_AGENT_MAC,
    MACRO_AGENT_IPV4,
    MACRO_AGENT_IPV6,
    MACRO_VLAN,
    MACRO_VLAN_NAME,
    MACRO_CVID,
    MACRO_SYSNAME,
    MACRO_LOCATION,
    MACRO_CONTACT,
    MACRO_HEX,
    MACRO_CPE_SERIAL,
    MACRO_CPE_MAC,
};

inline constexpr std::uint32_t macro_count = MACRO_CPE_MAC + 1;
inline constexpr char macro_prefix = '$';

// A macro's options.
inline constexpr char macroStringPrintHex = 0x01;
inline constexpr char macroStringNumOfChars = 0x02;
inline constexpr char macroStringPadZeroes = 0x04;
inline constexpr char macroStringPadSpaces = 0x08;
inline constexpr char macroStringDelimChar = 0x10;

inline constexpr unsigned macroNumOfCharsMax = 99;  // largest count of characters or bytes

// The source of an ID's subscriber data.
enum idGenType : std::uint32_t {
    ID_GEN_FRAME = 0,  // from the caller and the frame being processed
    ID_GEN_QUERY = 1,  // client MAC and customer VLAN from the test data
    ID_GEN_TEST = 2,   // all from the test data
};

bool macroIsSupportedForHex(customIdFormat type);
bool macroIsSupportedForDelimiter(customIdFormat type);
bool macroIsSupportedForUserString(customIdFormat type);

// The macro's name without the prefix; "N/A" for a value that is no macro.
std::string macroFormatTypeToString(customIdFormat type);

// Whether the options fit each other and the macro. The first conflict is traced.
// The delimiter is not checked.
bool macroAreFlagsValid(customIdFormat type, char flags, const std::string &delimiter,
                        unsigned num_chars);

namespace ia {

struct subscriber;
class TextWriter;

inline constexpr std::size_t macro_value_max = 256;  // characters; no field is longer

// Appends a macro's value; appends nothing, and traces why, when it has none.
using MacroSource = void(const subscriber &who, TextWriter &value);

// The kind of a macro's value decides which options it accepts: hex for all but
// texts, a delimiter for addresses only.
enum class MacroShape : std::uint8_t {
    none,  // no macro
    text,
    number,
    mac,
    ipv4,
    ipv6,
    user_hex,  // hexadecimal digits that stand in the format itself
};

struct MacroRule {
    customIdFormat type;
    std::string_view name;
    MacroShape shape;
    MacroSource *source;  // null: the macro never has a value
    bool lasts;           // constant for a port and its VLANs until the bridge is configured
    std::string_view meaning;
};

// Every macro, in the order of customIdFormat.
std::span<const MacroRule, macro_count> macro_rules();

// The macro's rule; for a value that is no macro, a rule without shape and source.
const MacroRule &macro_rule_of(customIdFormat type);

// A cheap test that excludes most positions of a format's text.
constexpr bool may_begin_macro_name(char c) {
    return c >= 'A' && c <= 'Z';
}

constexpr bool is_ip(MacroShape shape) {
    return shape == MacroShape::ipv4 || shape == MacroShape::ipv6;
}

constexpr bool is_address(MacroShape shape) {
    return shape == MacroShape::mac || is_ip(shape);
}

}  // namespace ia
