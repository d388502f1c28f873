#include "programs/configure.h"

#include "pppoeia/fe.h"
#include "pppoeia/store.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace ia {

namespace {

// What the agent makes of an interface type.
struct TypeFacts {
    const char *word;
    std::uint32_t kind;
    std::uint32_t state;
    std::uint32_t trust;
};

constexpr TypeFacts access_side(const char *word, std::uint32_t kind) {
    return {word, kind, PPPOEIA_PORT_DISABLED, PPPOEIA_PORT_UNTRUSTED};
}

constexpr TypeFacts network_side(const char *word, std::uint32_t kind) {
    return {word, kind, PPPOEIA_PORT_BOTH, PPPOEIA_PORT_TRUSTED};
}

// In the order of node::InterfaceType.
constexpr TypeFacts type_facts[] = {
    network_side("eth", 1), access_side("dsl", 2),  access_side("atm", 3),
    access_side("olt", 6),  access_side("onu", 7),  access_side("gem", 8),
    access_side("mng", 4),  network_side("lag", 5), access_side("eth", 9),
};

constexpr char remote_id_format[] = "$PORT_REM_ID";  // the port's remote_id
constexpr std::uint32_t valid_panel = 0;
constexpr std::uint32_t no_panel = 2;

// Takes the results of the operations for one section of the file.
class Section {
public:
    Section(const node::Description &description, unsigned line, std::string what)
        : place_(description.file + ':' + std::to_string(line) + ": " + std::move(what)) {}

    void expect_done(const char *operation, int result) const {
        if (result == 0) return;
        throw std::runtime_error(place_ + ": " + operation + " answered " + std::to_string(result) +
                                 " (" + std::strerror(std::abs(result)) + ")");
    }

private:
    std::string place_;
};

// Runs an operation on a bridge and expects 0.
#define APPLY(operation, ...) section.expect_done(#operation, operation(bridge, __VA_ARGS__))

template <std::size_t Size>
void fill(char (&field)[Size], const std::string &text) {
    text.copy(field, Size - 1);
}

pppoeia_port_info port_info(const node::Interface &interface) {
    const TypeFacts &facts = type_facts[static_cast<std::size_t>(interface.type)];
    pppoeia_port_info info{};
    info.parent_id = interface.parent;
    fill(info.intf_type, facts.word);
    info.intf_kind = facts.kind;
    fill(info.location.panel, interface.panel);
    info.location.panel_validity = interface.panel.empty() ? no_panel : valid_panel;
    info.location.port = interface.port;
    info.location.onu_or_pvc =
        interface.type == node::InterfaceType::atm ? interface.pvc : interface.onu;
    info.location.gem = interface.gem;
    return info;
}

void add_bridge(const node::Description &node, const node::Bridge &record) {
    const Section section(node, record.line, "bridge \"" + record.name + '"');
    const char *bridge = record.name.c_str();
    APPLY(fe_pppoeia_bridge_add, record.ports);
    APPLY(cache_pppoeia_bridge_max_pdu_set, record.max_pdu);
    APPLY(cache_pppoeia_bridge_vsa_mode_set, record.vsa_mode);
    APPLY(cache_pppoeia_bridge_shelf_id_set, node.shelf.c_str());
    APPLY(cache_pppoeia_remote_id_format_set, remote_id_format);
    APPLY(fe_pppoeia_bridge_contact_set, node.contact.c_str());
    APPLY(fe_pppoeia_bridge_location_set, node.location.c_str());
    APPLY(fe_pppoeia_bridge_sysname_set, node.name.c_str());
}

void set_vlan(const node::Description &node, const node::Vlan &vlan) {
    const Section section(node, vlan.line, "VLAN " + std::to_string(vlan.id));
    const char *bridge = vlan.bridge.c_str();
    APPLY(cache_pppoeia_vlan_add, vlan.id);
    APPLY(cache_pppoeia_vlan_name_set, vlan.id, vlan.name.c_str());
    APPLY(cache_pppoeia_bridge_vlan_set, vlan.id, vlan.enabled);
}

void add_port(const node::Description &node, const node::Interface &interface) {
    const Section section(
        node, interface.line,
        "interface " + std::to_string(interface.id) + " \"" + interface.name + '"');
    const char *bridge = interface.bridge.c_str();
    const std::uint32_t id = interface.id;
    const TypeFacts &facts = type_facts[static_cast<std::size_t>(interface.type)];
    const pppoeia_port_info info = port_info(interface);
    APPLY(cache_pppoeia_port_add, id, interface.device.c_str(), interface.name.c_str(), &info);
    if (interface.vpi && interface.vci)
        APPLY(cache_pppoeia_port_pvc_set, id, *interface.vpi, *interface.vci);
    APPLY(cache_pppoeia_port_remote_id_set, id, interface.remote_id.c_str());
    APPLY(fe_pppoeia_bridge_intf_descr_set, id, interface.description.c_str());
    APPLY(cache_pppoeia_port_trust_set, id, interface.trust.value_or(facts.trust));
    APPLY(cache_pppoeia_port_state_set, id,
          static_cast<std::int32_t>(interface.role.value_or(facts.state)));
}

void set_state(const node::Description &node, const node::Bridge &record) {
    const Section section(node, record.line, "bridge \"" + record.name + '"');
    const char *bridge = record.name.c_str();
    APPLY(cache_pppoeia_bridge_state_set, record.enabled);
}

}  // namespace

void configure(const node::Description &node) {
    for (const node::Bridge &bridge : node.bridges) add_bridge(node, bridge);
    for (const node::Vlan &vlan : node.vlans) set_vlan(node, vlan);
    for (const node::Interface &interface : node.interfaces) add_port(node, interface);
    for (const node::Bridge &bridge : node.bridges) set_state(node, bridge);
}

}  // namespace ia
