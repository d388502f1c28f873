#include "management/agent_calls.h"

#include "client/mirror.h"
#include "entity/pppoeia.h"
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

// Only who also ends the hold begins one.
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

void AgentCalls::setIntfDescr(unsigned int ifIndex, const std::string &description) {
    agent().setIntfDescr(ifIndex, description);
}

void AgentCalls::setVlanName(unsigned short vlanId, const std::string &name) {
    agent().setVlanName(vlanId, name);
}

void AgentCalls::notifyPvcChange(unsigned int ifIndex, unsigned int vpi, unsigned int vci) {
    agent().notifyPvcChange(ifIndex, vpi, vci);
}

void AgentCalls::profileModeChange(bool profile_mode) {
    agent().profileModeChange(profile_mode);
}

void AgentCalls::setState(bool enabled) {
    expect(agent().setState(enabled) == 0, "the state of the bridge");
}

void AgentCalls::maxPduSet(const std::string &bridge, unsigned int pdu) {
    mirror_maximum_set(bridge.c_str(), pdu);
    expect(agent().maxPduSet(bridge.c_str(), pdu), "the maximum PDU of bridge " + bridge);
}

void AgentCalls::setVlanState(unsigned short vlanId, bool enabled) {
    expect(agent().setVlanState(vlanId, enabled) == 0, "VLAN " + std::to_string(vlanId));
}

void AgentCalls::setInterfaceState(unsigned int ifIndex, std::uint32_t state) {
    expect(agent().setInterfaceState(ifIndex, pppoeia::interfaceState_t(state)) == 0,
           "the role of interface " + std::to_string(ifIndex));
}

void AgentCalls::setInterfaceMode(unsigned int ifIndex, std::uint32_t trust) {
    expect(agent().setInterfaceMode(ifIndex, pppoeia::interfaceMode_t(trust)) == 0,
           "the trust of interface " + std::to_string(ifIndex));
}

void AgentCalls::setInterfaceRemoteId(unsigned int ifIndex, const std::string &remote_id) {
    expect(agent().setInterfaceRemoteId(ifIndex, remote_id) == 0,
           "the Remote ID of interface " + std::to_string(ifIndex));
}

void AgentCalls::setVsaMode(std::uint32_t mode) {
    expect(agent().setVsaMode(pppoeia::vsaMode_t(mode)) == 0, "the tag mode of the bridge");
}

}  // namespace ia
