// Calls to the agent's entity for which the platform has no event: other management
// code makes them. The management program passes each on to the entity's operation
// of the same name. They must not throw.
#pragma once

#include "node/settings/settings.h"

#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace ia::node {

// Objects just announced; they have only the description's settings so far.
struct Arrivals {
    std::set<std::string> bridges;
    std::set<std::pair<std::string, std::uint16_t>> vlans;  // bridge, VLAN id
    std::set<std::pair<std::string, std::uint32_t>> ports;  // bridge, interface id
};

class EntityCalls {
public:
    virtual ~EntityCalls() = default;

    // Called before a bridge (port 0), or a port of an existing bridge, is announced:
    // its frames must be held until it has all its settings. False: it cannot be held,
    // and is not announced.
    virtual bool hold(const std::string & /*bridge*/, std::uint32_t /*port*/) { return true; }

    // Called after everything has been announced with the description's settings:
    // makes the remaining settings and ends the hold.
    virtual void arrived(const Arrivals & /*arrivals*/) {}

    // Properties of the node.
    virtual void setSystemContact(const std::string &contact) = 0;
    virtual void setSystemLocation(const std::string &location) = 0;
    virtual void setSystemName(const std::string &name) = 0;
    virtual void setIntfDescr(unsigned int if_index, const std::string &description) = 0;
    virtual void setVlanName(unsigned short vlan_id, const std::string &name) = 0;
    virtual void notifyPvcChange(unsigned int if_index, unsigned int vpi, unsigned int vci) = 0;
    virtual void profileModeChange(bool profile_mode) = 0;

    // The description's settings of the agent.
    virtual void maxPduSet(const std::string &bridge, unsigned int pdu) = 0;
    virtual void make(const Settings &settings) = 0;
};

}  // namespace ia::node
