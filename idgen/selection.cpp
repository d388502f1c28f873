#include "idgen/selection.h"

#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/assembly.h"
#include "idgen/debug.h"
#include "idgen/id_memory.h"
#include "idgen/plan.h"
#include "idgen/resolver.h"
#include "platform/kernel_modules.h"
#include "pppoeia/fe.h"
#include "pppoeia/store.h"
#include "store/accessors.h"
#include "store/bridge_list.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

namespace {

using ia::is_vlan;
using ia::no_vlan;

// Writes an ID into the caller's 64 bytes, cut if too long, and terminates it at
// the end.
class IdWriter : public ia::TextWriter {
public:
    explicit IdWriter(char *out) : TextWriter({out, generated_id_max}), out_(out) {}
    IdWriter(const IdWriter &) = delete;
    IdWriter &operator=(const IdWriter &) = delete;
    ~IdWriter() { out_[size()] = '\0'; }

private:
    char *out_;
};

constexpr std::string_view customer_vlan_place = ":<cvid>";

// How the default forms print numbers.
std::int32_t decimal(std::uint32_t number) {
    return static_cast<std::int32_t>(number);
}

std::optional<std::uint32_t> circuit_id_mode(const pppoeia_bridge &bridge, const pppoeia_port &port,
                                             std::uint16_t vid) {
    std::uint32_t mode = PPPOEIA_CID_NOT_SET;
    if (is_vlan(vid) && br_circuit_id_mode_port_vlan_get(bridge, port.port_id, vid, &mode) == 0) {
        IA_TRACE("<%s> >> Intf-VLAN CID mode: %d\n", bridge.name, mode);
    } else {
        if (br_port_vsa_circuit_id_mode_get(bridge, port.port_id, &mode) != 0) return std::nullopt;
        IA_TRACE("<%s> >> Interface CID mode: %d\n", bridge.name, mode);
    }
    IA_TRACE("<%s> >> Selected CID mode: %d\n", bridge.name, mode);
    return mode;
}

// The VLAN and the customer VLAN that the default form shows: the frame's. Without
// a frame, the VLAN that was asked for, and a placeholder for the customer VLAN.
void write_vlans(IdWriter &id, const pppoeia_bridge &bridge, bool member, std::uint16_t vid,
                 idGenType gen_type) {
    const ia::FrameValues *frame =
        gen_type == ID_GEN_FRAME && bridge.frame ? &*bridge.frame : nullptr;
    if (member) id << ":" << static_cast<std::uint16_t>((frame ? frame->vlan : vid) & no_vlan);
    if (!bridge.vsa_circuit_id_cvlan) return;
    if (!frame || !frame->cvlan)
        id << customer_vlan_place;
    else if (*frame->cvlan != KVBRIDGE_NO_CVLAN)  // with priority bits set it counts as a VLAN
        id << ":" << static_cast<std::uint16_t>(*frame->cvlan & no_vlan);
}

void write_ethernet_form(char *out, const pppoeia_bridge &bridge, const pppoeia_port &port,
                         std::uint16_t vid, idGenType gen_type) {
    IdWriter id(out);
    id << bridge.vendor << ":" << bridge.shelf_id << " eth " << decimal(bridge.board_pos) << "/"
       << port.port_name;
    if (!is_vlan(vid)) {
        id << ":<vid>";
        if (bridge.vsa_circuit_id_cvlan) id << customer_vlan_place;
        return;
    }
    write_vlans(id, bridge, port.vlan_member.test(vid & no_vlan), vid, gen_type);
}

void write_atm_form(char *out, const pppoeia_bridge &bridge, const pppoeia_port &port) {
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    std::uint32_t parent = 0;
    if (br_port_pvc_get(bridge, port.port_id, &vpi, &vci) != 0) return;
    if (br_port_parent_get(bridge, port.port_id, &parent) != 0) return;
    IdWriter(out) << bridge.vendor << ":" << bridge.shelf_id << " atm " << decimal(bridge.board_pos)
                  << "/" << decimal(parent) << ":" << decimal(vpi) << "." << decimal(vci);
}

// Describes one kind of ID: where its formats are kept.
struct IdKind {
    const char *name;
    int (*port_vlan_format)(const pppoeia_bridge &, std::uint32_t port, std::uint16_t vid, char *);
    char (pppoeia_bridge::*bridge_format)[PPPOEIA_FORMAT_SIZE];
    const char *bridge_format_reader;  // in traces
    char (pppoeia_port_vlan::*port_vlan_text)[PPPOEIA_FORMAT_SIZE];
    std::size_t line;  // index among the port's line plans
};

constexpr IdKind circuit_id_kind = {"CID",
                                    br_circuit_id_format_port_vlan_get,
                                    &pppoeia_bridge::cid_format,
                                    "br_circuit_id_format_get",
                                    &pppoeia_port_vlan::cid_format,
                                    0};
constexpr IdKind remote_id_kind = {"RID",
                                   br_remote_id_format_port_vlan_get,
                                   &pppoeia_bridge::rid_format,
                                   "br_remote_id_format_get",
                                   &pppoeia_port_vlan::rid_format,
                                   1};

// The format for the port and VLAN, else the bridge's; null when both are empty.
// The text may be copied to `buffer`.
const char *choose_format(const IdKind &kind, const pppoeia_bridge &bridge, std::uint32_t port,
                          std::uint16_t vid, char (&buffer)[PPPOEIA_FORMAT_SIZE]) {
    if (kind.port_vlan_format(bridge, port, vid, buffer) == 0 && buffer[0] != '\0') {
        IA_TRACE("<%s> >> Using custom %s format from intf-VLAN='%s'\n", bridge.name, kind.name,
                 buffer);
        return buffer;
    }
    ia::trace_call(kind.bridge_format_reader, bridge.name);
    const char *format = bridge.*kind.bridge_format;
    if (format[0] != '\0') {
        IA_TRACE("<%s> >> Using global %s format='%s'\n", bridge.name, kind.name, format);
        return format;
    }
    IA_TRACE("<%s> >> No custom %s format configured for intf=%d, vid=%d. Return empty %s\n",
             bridge.name, kind.name, port, vid, kind.name);
    return nullptr;
}

const ia::FormatPlan *find_plan(const IdKind &kind, pppoeia_bridge &bridge,
                                const pppoeia_port *port, std::uint16_t vid) {
    const char *format = bridge.*kind.bridge_format;
    if (port) {
        const auto entry = port->port_vlans.find(vid);
        if (entry != port->port_vlans.end() && (entry->second.*kind.port_vlan_text)[0] != '\0')
            format = entry->second.*kind.port_vlan_text;
    }
    return ia::plan_of(ia::memory_of(bridge), format);
}

// On the frame path: makes the same ID from the format's plan, or from the line's.
void write_planned_id(const IdKind &kind, char *out, pppoeia_bridge &bridge, std::uint32_t port_id,
                      std::uint16_t vid, std::uint16_t cvid, std::vector<std::uint8_t> &bin_id) {
    const ia::subscriber who = ia::subscriber_of(bridge, port_id, vid, cvid, ID_GEN_FRAME);
    const pppoeia_port *port = bridge.port(port_id);
    if (!port) return ia::run_plan(find_plan(kind, bridge, port, vid), who, out, bin_id);
    ia::LineSlot &slot = ia::memory_of(bridge).lines[port_id - 1][kind.line];
    if (ia::LinePlan *line = ia::current_line(slot, who))
        return ia::run_plan(ia::folded_plan(*line, who), who, out, bin_id);
    const ia::FormatPlan *plan = find_plan(kind, bridge, port, vid);
    ia::begin_line(slot, who, plan);
    ia::run_plan(plan, who, out, bin_id);
}

void write_custom_id(const IdKind &kind, char *out, pppoeia_bridge &bridge, std::uint32_t port,
                     std::uint16_t vid, std::uint16_t cvid, std::vector<std::uint8_t> &bin_id,
                     idGenType gen_type) {
    if (gen_type == ID_GEN_FRAME && ia::plans_run())
        return write_planned_id(kind, out, bridge, port, vid, cvid, bin_id);
    char buffer[PPPOEIA_FORMAT_SIZE] = "";
    std::string id;
    if (const char *format = choose_format(kind, bridge, port, vid, buffer))
        genCustomId(&bridge, port, vid, cvid, format, id, bin_id, gen_type);
    IdWriter(out) << id;
    IA_TRACE("<%s> >> Generated custom %s='%s'\n", bridge.name, kind.name, out);
}

void write_custom_circuit_id(char *out, pppoeia_bridge &bridge, std::uint32_t port,
                             std::uint16_t vid, std::vector<std::uint8_t> &bin_id,
                             idGenType gen_type) {
    const std::uint16_t cvlan = bridge.frame ? bridge.frame->cvlan.value_or(no_vlan) : no_vlan;
    const auto cvid = static_cast<std::uint16_t>(cvlan & no_vlan);
    IA_TRACE("<%s> >> Custom CID mode for intfId=%d, vid=%d\n", bridge.name, port, vid);
    write_custom_id(circuit_id_kind, out, bridge, port, vid, cvid, bin_id, gen_type);
}

// Runs `build` on the locked bridge and its port.
template <class Build>
int query(const char *operation, const char *bridge_name, unsigned port_id, Build build) {
    ia::trace_call(operation, bridge_name, port_id);
    const ia::LockedBridge bridge(bridge_name);
    if (!bridge) return ia::refuse(operation, -ENOENT);
    pppoeia_port *port = bridge->port(port_id);
    if (!port) return ia::refuse_port(operation, port_id);
    std::vector<std::uint8_t> binary;  // a query answers with the text
    build(&*bridge, port, binary);
    return 0;
}

}  // namespace

void pppoeia_build_circuit_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                              unsigned short vid, std::vector<std::uint8_t> &bin_id,
                              idGenType gen_type) {
    if (!out || !bridge || !port) return;
    IA_TRACE("<%s> >> pppoeia_build_circuit_id\n", bridge->name);
    const auto mode = circuit_id_mode(*bridge, *port, vid);
    if (mode == PPPOEIA_CID_DEFAULT) write_ethernet_form(out, *bridge, *port, vid, gen_type);
    if (mode == PPPOEIA_CID_ATM) write_atm_form(out, *bridge, *port);
    if (mode == PPPOEIA_CID_CUSTOM)
        write_custom_circuit_id(out, *bridge, port->port_id, vid, bin_id, gen_type);
}

int pppoeia_build_remote_id(char *out, pppoeia_bridge *bridge, pppoeia_port *port,
                            unsigned short vid, std::vector<std::uint8_t> &bin_id,
                            idGenType gen_type) {
    if (out && bridge && port)
        write_custom_id(remote_id_kind, out, *bridge, port->port_id, vid, no_vlan, bin_id,
                        gen_type);
    return 0;
}

int fe_gen_circuit_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid,
                                   char *out) {
    return query(__func__, bridge, port, [=](auto *found, auto *at, auto &binary) {
        pppoeia_build_circuit_id(out, found, at, vid, binary, ID_GEN_QUERY);
    });
}

int fe_gen_remote_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid,
                                  char *out) {
    return query(__func__, bridge, port, [=](auto *found, auto *at, auto &binary) {
        pppoeia_build_remote_id(out, found, at, vid, binary, ID_GEN_QUERY);
    });
}

int cache_pppoeia_port_circuit_id_get(const char *bridge, unsigned port, char *out) {
    const int result = query(__func__, bridge, port, [=](auto *found, auto *at, auto &binary) {
        pppoeia_build_circuit_id(out, found, at, no_vlan, binary, ID_GEN_FRAME);
    });
    return result == 0 ? ia::trace_result(__func__, 0) : result;
}
