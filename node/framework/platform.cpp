// The platform's other singletons on a plain machine.
#include "node/framework/registry.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Ports.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/onuEquipment.h"
#include "platform/bll/rpcIfcType.h"
#include "platform/bll/servprofile.h"
#include "platform/bll/sysInfo.h"

#include <pthread.h>
#include <algorithm>
#include <boost/make_shared.hpp>

using ia::node::InterfaceType;
using ia::node::NodeState;
using ia::node::registry;

void BLLManager::registerEntity(BLEntity &entity) {
    registered_.push_back(&entity);
}

const std::vector<BLEntity *> &BLLManager::entities() const {
    return registered_;
}

void BLLManager::registerThread(const std::string &name) {
    constexpr std::size_t longest = 15;  // the kernel's limit
    pthread_setname_np(pthread_self(), name.substr(0, longest).c_str());
}

int kvbridge::vlanGetInfoId(const char *bridge, std::uint16_t index, vlanInfo &info) const {
    return registry().read([&](const NodeState &node) {
        const bool any = !bridge || !*bridge;
        auto vlan = node.vlans.lower_bound({any ? "" : bridge, index});
        while (any && vlan != node.vlans.end() && vlan->first.second != index) {
            const std::string &name = vlan->first.first;
            vlan = vlan->first.second < index
                       ? node.vlans.lower_bound({name, index})
                       : node.vlans.upper_bound({name, std::uint16_t(0xFFFF)});
        }
        if (vlan == node.vlans.end() || vlan->first.second != index ||
            (!any && vlan->first.first != bridge))
            return 1;
        info = {vlan->second.id, vlan->second.name};
        return 0;
    });
}

int sysInfo::getShelfId(std::string &shelf) const {
    return registry().read([&](const NodeState &node) {
        if (node.facts.shelf.empty()) return 1;
        shelf = node.facts.shelf;
        return 0;
    });
}

bool isActive(int feature) {
    return feature == FEATURE_GPON &&
           registry().read([](const NodeState &node) { return node.gpon; });
}

bool CliConfig::checkProfileMode() const {
    return registry().read([](const NodeState &node) { return node.facts.profile_mode; });
}

int servprofile::servProfileOnPppoeiaPvcCidModeChange(unsigned int if_index, unsigned int mode) {
    if (!pvcCidModeChange.ask(if_index, mode)) return 1;
    pvcCidModeChange.tell(if_index, mode);
    return 0;
}

int servProfileCheckIfInterfaceUplink(unsigned int if_index) {
    return registry().read([&](const NodeState &node) {
        const ia::node::Interface *const interface = node.interface(if_index);
        return interface && ia::node::facts_of(interface->type).faces_network;
    });
}

int onuEquipment::onuConfigGet(unsigned int if_index, onuConfigTableGet &table, std::uint32_t,
                               std::uint32_t, std::uint32_t) const {
    return registry().read([&](const NodeState &node) {
        const ia::node::Interface *const onu = node.interface(if_index);
        if (!onu || onu->type != InterfaceType::onu) return 1;
        table = {};
        if (onu->mac) {
            std::copy(onu->mac->begin(), onu->mac->end(), table.mac);
            table.mac_length = static_cast<std::uint32_t>(onu->mac->size());
        }
        return 0;
    });
}

boost::shared_ptr<Ports::GponImpl> Ports::getGponImpl() const {
    if (!isActive(FEATURE_GPON)) throw nullImplException();
    static const auto driver = boost::make_shared<GponImpl>();
    return driver;
}

bool_t xdr_rpcIfcType(XDR *stream, rpcIfcType *type) {
    return xdr_int(stream, type);
}
