// Statistics, generated IDs, and queries that combine several settings.
#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/sysInfo.h"
#include "pppoeia/client.h"

using namespace ia;

namespace {

// One call under the shared lock.
template <class Call, class... Args>
int ask(Call call, Args... args) {
    return shared([&] { return entity_result(call(args...)); });
}

void add(pppoeia_stats &sum, const pppoeia_stats &more) {
    sum.padi += more.padi;
    sum.padr += more.padr;
    sum.pado += more.pado;
    sum.pads += more.pads;
    sum.padt += more.padt;
    sum.dropped += more.dropped;
    sum.unknown_code += more.unknown_code;
    sum.truncated += more.truncated;
    sum.bypassed += more.bypassed;
}

// Adds the counters of the interfaces `levels` below this one.
bool add_children(unsigned int id, int levels, pppoeia_stats &sum) {
    std::list<Interfaces::Interface> children;
    if (Interfaces::instance().interfaceAllChildrenGet(id, children) != 0) return false;
    for (const Interfaces::Interface &child : children) {
        if (levels > 1) {
            if (!add_children(child.id, levels - 1, sum)) return false;
            continue;
        }
        pppoeia_stats own{};
        if (pppoeia_port_stats_get(default_bridge, child.id, &own) != 0) return false;
        add(sum, own);
    }
    return true;
}

// How many levels below an interface its counters are kept; 0: at the interface
// itself.
int levels_below(Interfaces::interfaceType type) {
    if (type == Interfaces::interfaceTypeOnu) return 1;  // on its GEM ports
    if (type == Interfaces::interfaceTypeOlt) return 2;  // on the GEM ports of its ONUs
    return 0;
}

// False for a mode that no operator can set.
bool describe(unsigned int id, const pppoeia_port_vlan_info &entry, pppoeia::portVlanInfo_t &info) {
    if (entry.cid_mode > PPPOEIA_CID_CUSTOM) return false;
    info.ifIndex = id;
    info.vlanId = entry.vlan_id;
    info.cidMode = pppoeia::vsaCircuitIdMode_t(entry.cid_mode);
    info.cidFormat = entry.cid_format;
    info.ridFormat = entry.rid_format;
    return true;
}

// OLT ports and ONUs carry no subscriber; a GEM port may not carry one yet.
bool carries_no_subscriber(const Interfaces::Interface &interface) {
    return interface.type == Interfaces::interfaceTypeOlt ||
           interface.type == Interfaces::interfaceTypeOnu ||
           (interface.type == Interfaces::interfaceTypeGem && interface.gemInUse == 0);
}

}  // namespace

// --- statistics --------------------------------------------------------------------

int pppoeia::getGlobalStatistics(pppoeia_stats &stats) const {
    return ask(pppoeia_bridge_stats_get, default_bridge, &stats);
}

int pppoeia::resetGlobalStatistics() const {
    return ask(pppoeia_bridge_stats_reset, default_bridge);
}

int pppoeia::getInterfaceStatistics(unsigned int if_index, pppoeia_stats &stats) const {
    return shared([&] {
        Interfaces::interfaceType type{};
        int levels = 0;
        if (isActive(FEATURE_GPON)) {
            if (Interfaces::instance().interfaceGetTypeById(if_index, type) != 0) return failed;
            levels = levels_below(type);
        }
        if (levels == 0)
            return EntityResult(
                entity_result(pppoeia_port_stats_get(default_bridge, if_index, &stats)));
        stats = {};
        return add_children(if_index, levels, stats) ? succeeded : failed;
    });
}

int pppoeia::resetInterfaceStatistics(unsigned int if_index) const {
    return ask(pppoeia_port_stats_reset, default_bridge, if_index);
}

// --- generated IDs -----------------------------------------------------------------

int pppoeia::genCircuitIdByIntfVlan(unsigned int if_index, unsigned short vlan_id,
                                    char *out) const {
    return ask(gen_circuit_id_by_intf_vlan, default_bridge, if_index, vlan_id, out);
}

int pppoeia::genRemoteIdByIntfVlan(unsigned int if_index, unsigned short vlan_id, char *out) const {
    return ask(gen_remote_id_by_intf_vlan, default_bridge, if_index, vlan_id, out);
}

// --- views -------------------------------------------------------------------------

int pppoeia::getPortVlan(unsigned int if_index, unsigned short vlan_id,
                         portVlanInfo_t &info) const {
    return shared([&] {
        pppoeia_port_vlan_info entry{};
        if (pppoeia_port_vlan_info_get(default_bridge, if_index, vlan_id, &entry) != 0)
            return failed;
        return describe(if_index, entry, info) ? succeeded : failed;
    });
}

int pppoeia::getPortVlanList(unsigned int if_index, std::list<portVlanInfo_t> &list) const {
    return shared([&] {
        list.clear();
        pppoeia_port_vlan_info entry{};
        int result = pppoeia_port_vlan_get_first(default_bridge, if_index, &entry);
        while (result == 0) {
            portVlanInfo_t info;
            if (!describe(if_index, entry, info)) return failed;
            list.push_back(info);
            result = pppoeia_port_vlan_get_next(default_bridge, if_index, entry.vlan_id, &entry);
        }
        return succeeded;
    });
}

int pppoeia::getVlanInfo(unsigned short vlan_id, vlanInfo_t &info) const {
    return shared([&] {
        kvbridge::vlanInfo known{};
        if (kvbridge::instance().vlanGetInfoId(default_bridge, vlan_id, known) != 0)
            return not_applicable;
        info.vlanId = vlan_id;
        return getVlanState(vlan_id, info.state) == succeeded ? succeeded : failed;
    });
}

int pppoeia::getVlanInfo(std::list<vlanInfo_t> &list) const {
    constexpr std::uint16_t last_vlan = 4095;
    return shared([&] {
        list.clear();
        for (std::uint16_t index = 0; index <= last_vlan; ++index) {
            kvbridge::vlanInfo known{};
            if (kvbridge::instance().vlanGetInfoId("", index, known) != 0) continue;
            vlanInfo_t info{known.vlanId, false};
            if (getVlanState(known.vlanId, info.state) != succeeded) {
                list.clear();
                return failed;
            }
            list.push_back(info);
        }
        return succeeded;
    });
}

int pppoeia::getInterfaceInfo(unsigned int if_index, interfaceInfo_t &info) const {
    return shared([&] {
        const Interfaces &interfaces = Interfaces::instance();
        const bool complete = interfaces.checkId(if_index) &&
                              interfaces.interfaceGetNameById(if_index, info.name) == 0 &&
                              interfaces.interfaceGetTypeById(if_index, info.type) == 0 &&
                              getInterfaceState(if_index, info.state) == succeeded &&
                              getInterfaceMode(if_index, info.mode) == succeeded &&
                              getInterfaceRemoteId(if_index, info.remoteId) == succeeded &&
                              getInterfaceCircuitId(if_index, info.circuitId) == succeeded &&
                              getVsaCircuitIdMode(if_index, info.cidMode) == succeeded &&
                              getPortVlanList(if_index, info.portVlans) == succeeded;
        if (!complete) return failed;
        info.ifIndex = if_index;
        return succeeded;
    });
}

int pppoeia::getInterfaceInfo(std::list<interfaceInfo_t> &list, bool skip_gpon_parents) const {
    return shared([&] {
        list.clear();
        std::list<Interfaces::Interface> known;
        Interfaces::instance().interfaceListGet(known);
        for (const Interfaces::Interface &interface : known) {
            if (skip_gpon_parents && carries_no_subscriber(interface)) continue;
            interfaceInfo_t info;
            if (getInterfaceInfo(interface.id, info) != succeeded) {
                list.clear();
                return failed;
            }
            list.push_back(info);
        }
        return succeeded;
    });
}
