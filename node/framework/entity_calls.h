// What the node tells the agent's entity without an event of the platform:
// calls that other management code makes. The management program passes each
// on to the entity's operation of the same name; none of them may throw.
#pragma once

#include "node/settings/settings.h"

#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace ia::node {

// What was announced anew, and has only the description's settings so far.
struct Arrivals {
    std::set<std::string> bridges;
    std::set<std::pair<std::string, std::uint16_t>> vlans;  // bridge, VLAN id
    std::set<std::pair<std::string, std::uint32_t>> ports;  // bridge, interface id
};

class EntityCalls {
public:
    virtual ~EntityCalls() = default;

    // Before a bridge (port 0) or a port of a bridge that is there is announced:
    // its frames are to be held until it has arrived with all its settings. False
    // when they cannot be: it is then not announced.
    virtual bool hold(const std::string & /*bridge*/, std::uint32_t /*port*/) { return true; }

    // After everything has been announced and the description's settings told:
    // what else is to be set, and the end of the hold.
    virtual void arrived(const Arrivals & /*arrivals*/) {}

    // What the node is.
    virtual void setSystemContact(const std::string &contact) = 0;
    virtual void setSystemLocation(const std::string &location) = 0;
    virtual void setSystemName(const std::string &name) = 0;
    virtual void setIntfDescr(unsigned int ifIndex, const std::string &description) = 0;
    virtual void setVlanName(unsigned short vlanId, const std::string &name) = 0;
    virtual void notifyPvcChange(unsigned int ifIndex, unsigned int vpi, unsigned int vci) = 0;
    virtual void profileModeChange(bool profile_mode) = 0;

    // How the node's description wants the agent set.
    virtual void maxPduSet(const std::string &bridge, unsigned int pdu) = 0;
    virtual void make(const Settings &settings) = 0;
};

}  // namespace ia::node
