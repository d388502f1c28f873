// Handlers for bridges, ports and VLANs that the node announces.
#include "entity/interface_types.h"
#include "entity/operation.h"
#include "entity/port_location.h"
#include "entity/pppoeia.h"
#include "platform/bll/sysInfo.h"
#include "pppoeia/client.h"

#include <cstring>

using namespace ia;

namespace {

const char *named(const char *bridge) {
    return bridge && *bridge ? bridge : pppoeia::m_default_bridge_name;
}

// The registry's data of an interface that becomes a port.
struct Described {
    std::string device;
    std::string name;
    Interfaces::interfaceType type{};
    pppoeia_port_info info{};
};

bool look_up(unsigned int id, Described &port) {
    const Interfaces &interfaces = Interfaces::instance();
    return interfaces.interfaceGetLinuxnameById(id, port.device) == 0 &&
           interfaces.interfaceGetNameById(id, port.name) == 0 &&
           interfaces.interfaceGetTypeById(id, port.type) == 0 &&
           location_of(id, port.info.location);
}

// Sets type word, kind and parent. False, with a log line, for a type without a
// word.
bool classify(unsigned int id, Described &port) {
    if (Interfaces::instance().interfaceGetTypeById(id, port.type) != 0) {
        log_line(log_error, "pppoeia: Error getting interface type for port ", id, "\n");
        return false;
    }
    const InterfaceTypeFacts *facts = facts_of(port.type);
    if (!facts) {
        log_line(log_error, "pppoeia: Invalid interface type for port ", id, "\n");
        return false;
    }
    std::strncpy(port.info.intf_type, facts->name, sizeof port.info.intf_type - 1);
    port.info.intf_kind = facts->kind;
    Interfaces::Interface parent{};
    if (facts->has_parent && Interfaces::instance().interfaceParentGet(id, parent) == 0)
        port.info.parent_id = parent.id;
    return true;
}

// Runs a VLAN handler under the lock; failures have two log lines of their own.
template <class Call, class... Args>
void change_vlans(const char *handler, const char *call_name, Call call, Args... args) {
    const BLLManager::exclusiveLock_t lock;
    if (!lock.owns_lock())
        log_line(log_error, "pppoeia::", handler, ": obtaining exclusive lock failed.\n");
    else if (call(pppoeia::m_default_bridge_name, args...) != 0)
        log_line(log_error, "pppoeia::", handler, ": ", call_name, " error.\n");
}

}  // namespace

bool pppoeia::bridgeAdd(const char *bridge_name, unsigned int port_count) {
    constexpr std::uint32_t max_pdu = 1500;
    const char *name = named(bridge_name);
    exclusively([&] {
        if (pppoeia_bridge_add(name, port_count) != 0) return failed;
        pppoeia_bridge_max_pdu_set(name, max_pdu);
        pppoeia_bridge_state_set(name, 0);
        pppoeia_bridge_vendor_set(name, defaultVendorId.c_str());
        // These are the default bridge's, whichever one was added.
        pppoeia_circuit_id_format_set(m_default_bridge_name, pppoeia_cid_format_def.c_str());
        pppoeia_remote_id_format_set(m_default_bridge_name, pppoeia_rid_format_def.c_str());
        pppoeia_bridge_chassis_id_set(m_default_bridge_name, defaultChassisId);
        std::string shelf;
        if (sysInfo::instance().getShelfId(shelf) != 0) shelf = defaultShelfId;
        pppoeia_bridge_shelf_id_set(name, shelf.c_str());
        return succeeded;
    });
    return true;
}

bool pppoeia::bridgeDel(const char *bridge_name) {
    return change(pppoeia_bridge_del, named(bridge_name)) == succeeded;
}

void pppoeia::portAdd(const char *bridge_name, unsigned int if_index) {
    exclusively([&] {
        Described port;
        if (!look_up(if_index, port)) {
            log_line(log_error, "pppoeia: Error getting port ", if_index,
                     " info from Interfaces BLE.\n");
            return failed;
        }
        if (!classify(if_index, port)) return failed;
        if (pppoeia_port_add(named(bridge_name), if_index, port.device.c_str(), port.name.c_str(),
                             &port.info) != 0) {
            log_line(log_error, "pppoeia: Error adding port ", if_index, " to pppoeia module\n");
            return failed;
        }
        const InterfaceTypeFacts &facts = *facts_of(port.type);
        setInterfaceState(if_index, interfaceState_t(facts.state));
        setInterfaceMode(if_index, interfaceMode_t(facts.trust));
        return succeeded;
    });
}

bool pppoeia::portDel(const char *bridge_name, unsigned int if_index) {
    return change(pppoeia_port_del, named(bridge_name), if_index) == succeeded;
}

bool pppoeia::maxPduSet(const char *bridge_name, unsigned int pdu) {
    return change(pppoeia_bridge_max_pdu_set, named(bridge_name), pdu) == succeeded;
}

bool pppoeia::maxPduGet(const char *bridge_name, unsigned int &pdu) {
    return change(pppoeia_bridge_max_pdu_get, named(bridge_name), &pdu) == succeeded;
}

void pppoeia::vlanAdd(const char *, unsigned short vlan_id) const {
    change_vlans("vlanAdd", "pppoeia_vlan_add", pppoeia_vlan_add, vlan_id);
}

void pppoeia::vlanDel(const char *, unsigned short vlan_id) const {
    change_vlans("vlanDel", "pppoeia_vlan_del", pppoeia_vlan_del, vlan_id);
}

void pppoeia::addVlanMembership(const char *, unsigned short vlan_id, unsigned int if_index) const {
    change_vlans("addVlanMembership", "pppoeia_port_vlan_add", pppoeia_port_vlan_add, if_index,
                 vlan_id);
}

void pppoeia::delVlanMembership(const char *, unsigned short vlan_id, unsigned int if_index) const {
    change_vlans("delVlanMembership", "pppoeia_port_vlan_del", pppoeia_port_vlan_del, if_index,
                 vlan_id);
}

int pppoeia::clearPortVlan(unsigned int if_index) {
    return change(clear_port_vlan, m_default_bridge_name, if_index);
}

int pppoeia::clearVlan() {
    return change(clear_vlan, m_default_bridge_name);
}

int pppoeia::profileModeChange(bool) const {
    return change(clear_port_vlan_all, m_default_bridge_name);
}
