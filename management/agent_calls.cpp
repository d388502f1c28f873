#include "management/agent_calls.h"

#include "client/mirror.h"
#include "entity/pppoeia.h"
#include "management/agent_settings.h"
#include "management/own_changes.h"
#include "platform/bll/Log.h"
#include "pppoeia/node.h"

namespace ia {

namespace {

template <class... What>
void expect(bool done, const What &...what) {
    if (done) return;
    Log &log = Log::instance().setMsgLevel(0);
    (log.write("pppoeia-mgmt: cannot set ").write(what), ...);
    log.write("\n");
}

}  // namespace

// A hold begins only where `when_arrived` exists to end it.
bool AgentCalls::hold(const std::string &bridge, std::uint32_t port) {
    if (!when_arrived_ || hold_frames(bridge.c_str(), port) == 0) return true;
    if (OwnChanges *own = OwnChanges::current()) own->fail();
    return false;
}

void AgentCalls::arrived(const node::Arrivals &arrivals) {
    if (when_arrived_) when_arrived_(arrivals);
}

void AgentCalls::setSystemContact(const std::string &contact) {
    agent().setSystemContact(contact);
}

void AgentCalls::setSystemLocation(const std::string &location) {
    agent().setSystemLocation(location);
}

void AgentCalls::setSystemName(const std::string &name) {
    agent().setSystemName(name);
}

void AgentCalls::setIntfDescr(unsigned int if_index, const std::string &description) {
    agent().setIntfDescr(if_index, description);
}

void AgentCalls::setVlanName(unsigned short vlan_id, const std::string &name) {
    agent().setVlanName(vlan_id, name);
}

void AgentCalls::notifyPvcChange(unsigned int if_index, unsigned int vpi, unsigned int vci) {
    agent().notifyPvcChange(if_index, vpi, vci);
}

void AgentCalls::profileModeChange(bool profile_mode) {
    agent().profileModeChange(profile_mode);
}

void AgentCalls::maxPduSet(const std::string &bridge, unsigned int pdu) {
    mirror_maximum_set(bridge.c_str(), pdu);
    expect(agent().maxPduSet(bridge.c_str(), pdu), "the maximum PDU of bridge " + bridge);
}

void AgentCalls::make(const node::Settings &settings) {
    apply_settings(settings);
}

}  // namespace ia
