#include "idgen/macros.h"

#include "fe/base/trace.h"
#include "idgen/debug.h"
#include "idgen/resolver.h"

#include <algorithm>
#include <array>

namespace ia {
namespace {

using enum MacroShape;

constexpr bool lasts = true;
constexpr bool asked = false;  // for each frame: it comes from the frame or the platform

constexpr std::array<MacroRule, macro_count> rules = {{
    {MACRO_SHELF, "SHELF", text, source::shelf, lasts, "shelf of the node"},
    {MACRO_CHASSIS, "CHASSIS", number, source::chassis, lasts, "chassis number of the node"},
    {MACRO_PANEL, "PANEL", text, source::panel, lasts, "panel label of the port"},
    {MACRO_INTF_TYPE, "INTF_TYPE", text, source::intf_type, lasts, "type of the interface"},
    {MACRO_AGENT_BOARD, "AGENT_BOARD", number, source::agent_board, asked, "board of the node"},
    {MACRO_BOARD, "BOARD", number, source::board, lasts, "always empty"},
    {MACRO_PORT, "PORT", number, source::port, lasts, "port number in its place"},
    {MACRO_PORT_REM_ID, "PORT_REM_ID", text, source::port_rem_id, lasts,
     "Remote ID of the port, else of its parent"},
    {MACRO_INTF, "INTF", text, source::intf, lasts, "name of the interface"},
    {MACRO_INTF_DSCR, "INTF_DSCR", text, source::intf_dscr, lasts,
     "description of the interface; of a GEM port its ONU's"},
    {MACRO_ONU, "ONU", number, source::onu, lasts, "ONU number"},
    {MACRO_VGEM, "VGEM", number, source::vgem, lasts, "GEM number"},
    {MACRO_TCONT, "TCONT", number, nullptr, asked, "never has a value"},
    {MACRO_PVC_INTF, "PVC_INTF", number, source::pvc_intf, lasts, "number of the PVC interface"},
    {MACRO_VPI, "VPI", number, source::vpi, lasts, "VPI of the PVC"},
    {MACRO_VCI, "VCI", number, source::vci, lasts, "VCI of the PVC"},
    {MACRO_CLNT_MAC, "CLNT_MAC", mac, source::clnt_mac, asked, "address of the client"},
    {MACRO_AGENT_MAC, "AGENT_MAC", mac, source::agent_mac, asked, "address of the node"},
    {MACRO_AGENT_IPV4, "AGENT_IPV4", ipv4, source::agent_ipv4, asked, "IPv4 address of the node"},
    {MACRO_AGENT_IPV6, "AGENT_IPV6", ipv6, source::agent_ipv6, asked, "IPv6 address of the node"},
    {MACRO_VLAN, "VLAN", number, source::vlan, lasts, "VLAN of the frame"},
    {MACRO_VLAN_NAME, "VLAN_NAME", text, source::vlan_name, lasts, "name of that VLAN"},
    {MACRO_CVID, "CVID", number, source::cvid, lasts, "customer VLAN; Circuit IDs only"},
    {MACRO_SYSNAME, "SYSNAME", text, source::sysname, lasts, "name of the node"},
    {MACRO_LOCATION, "LOCATION", text, source::location, lasts, "location of the node"},
    {MACRO_CONTACT, "CONTACT", text, source::contact, lasts, "contact of the node"},
    {MACRO_HEX, "HEX", user_hex, nullptr, asked,
     "the bytes whose digits stand between '$' and the name"},
    {MACRO_CPE_SERIAL, "CPE_SERIAL", text, source::cpe_serial, lasts, "serial number of the ONU"},
    {MACRO_CPE_MAC, "CPE_MAC", mac, source::cpe_mac, lasts, "address of the ONU"},
}};

constexpr bool rows_in_order() {
    for (std::size_t row = 0; row < rules.size(); ++row)
        if (rules[row].type != row) return false;
    return true;
}

constexpr bool names_differ() {
    for (std::size_t row = 0; row < rules.size(); ++row)
        for (std::size_t other = 0; other < row; ++other)
            if (rules[row].name == rules[other].name) return false;
    return true;
}

static_assert(rows_in_order() && names_differ());
static_assert(std::ranges::all_of(rules, [](const MacroRule &rule) {
    return may_begin_macro_name(rule.name.front());
}));

constexpr MacroRule no_macro = {customIdFormat{macro_count}, "N/A", none, nullptr, asked, ""};

}  // namespace

std::span<const MacroRule, macro_count> macro_rules() {
    return rules;
}

const MacroRule &macro_rule_of(customIdFormat type) {
    return type < macro_count ? rules[type] : no_macro;
}

}  // namespace ia

bool macroIsSupportedForHex(customIdFormat type) {
    const ia::MacroShape shape = ia::macro_rule_of(type).shape;
    return shape == ia::MacroShape::number || ia::is_address(shape);
}

bool macroIsSupportedForDelimiter(customIdFormat type) {
    return ia::is_address(ia::macro_rule_of(type).shape);
}

bool macroIsSupportedForUserString(customIdFormat type) {
    return ia::macro_rule_of(type).shape == ia::MacroShape::user_hex;
}

std::string macroFormatTypeToString(customIdFormat type) {
    return std::string(ia::macro_rule_of(type).name);
}

bool macroAreFlagsValid(customIdFormat type, char flags, const std::string &, unsigned num_chars) {
    IA_ID_DEBUG("macro %u, flags 0x%02x, count %u", type, static_cast<unsigned char>(flags),
                num_chars);
    const bool zeroes = flags & macroStringPadZeroes;
    const bool spaces = flags & macroStringPadSpaces;
    if (zeroes && spaces) {
        IA_TRACE("<PPPOEIA> >> ERROR: both macroStringPadZeroes and macroStringPadSpaces set");
        return false;
    }
    // z without a count fills the octets or groups of an IP address.
    if ((zeroes || spaces) && num_chars == 0 && !ia::is_ip(ia::macro_rule_of(type).shape)) {
        IA_TRACE("<PPPOEIA> >> ERROR: padding set, but zero characters");
        return false;
    }
    if ((flags & macroStringNumOfChars) && num_chars == 0) {
        IA_TRACE("<PPPOEIA> >> ERROR: macroStringNumOfChars set, but zero characters");
        return false;
    }
    if ((flags & macroStringPrintHex) && !macroIsSupportedForHex(type)) {
        IA_TRACE("<PPPOEIA> >> ERROR: macro not supported for HEX format");
        return false;
    }
    return true;
}
