// Server functions that change something; each calls one operation of the entity.
#include "entity/pppoeia.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/servprofile.h"
#include "pppoeia/node.h"
#include "rpc/server.h"

using namespace ia;

namespace {

// Requests are served one at a time, so one reply serves them all.
rpcPppoeiaResult *answer(int result) {
    static rpcPppoeiaResult reply;
    reply = rpcPppoeiaResult(result);
    return &reply;
}

// Refuses while service profiles configure the node.
template <class Change>
rpcPppoeiaResult *outside_profiles(Change change) {
    if (CliConfig::instance().checkProfileMode()) return answer(profile_mode);
    return answer(change());
}

// Uplinks do not belong to a service profile.
template <class Change>
rpcPppoeiaResult *outside_profiles_or_uplink(u_int what, Change change) {
    if (servProfileCheckIfInterfaceUplink(what) != 0) return answer(change());
    return outside_profiles(change);
}

}  // namespace

rpcPppoeiaResult *rpc_pppoeia_set_state_1_svc(bool_t state, svc_req *) {
    return outside_profiles([&] { return agent().setState(state != 0); });
}

// In these two procedures "circuit id" means the bridge's shelf id.
rpcPppoeiaResult *rpc_pppoeia_unset_circuitid_1_svc(svc_req *) {
    return answer(agent().setShelfId(""));
}

rpcPppoeiaResult *rpc_pppoeia_set_circuitid_1_svc(char *shelf, svc_req *) {
    return answer(agent().setShelfId(shelf));
}

rpcPppoeiaResult *rpc_pppoeia_set_debug_1_svc(bool_t debug, svc_req *) {
    return answer(agent().setDebug(debug != 0));
}

rpcPppoeiaResult *rpc_pppoeia_set_interface_state_1_svc(u_int if_index,
                                                        rpcPppoeiaInterfaceState state, svc_req *) {
    return outside_profiles_or_uplink(if_index, [&] {
        return agent().setInterfaceState(if_index, pppoeia::interfaceState_t(state));
    });
}

rpcPppoeiaResult *rpc_pppoeia_set_interface_mode_1_svc(u_int if_index, rpcPppoeiaInterfaceMode mode,
                                                       svc_req *) {
    return answer(agent().setInterfaceMode(if_index, pppoeia::interfaceMode_t(mode)));
}

rpcPppoeiaResult *rpc_pppoeia_unset_remoteid_1_svc(u_int if_index, svc_req *) {
    return answer(agent().setInterfaceRemoteId(if_index, ""));
}

rpcPppoeiaResult *rpc_pppoeia_set_remoteid_1_svc(u_int if_index, char *remote_id, svc_req *) {
    return answer(agent().setInterfaceRemoteId(if_index, remote_id));
}

rpcPppoeiaResult *rpc_pppoeia_set_vlan_state_1_svc(u_int vlan_id, bool_t state, svc_req *) {
    return outside_profiles_or_uplink(vlan_id, [&] {
        return agent().setVlanState(static_cast<unsigned short>(vlan_id), state != 0);
    });
}

rpcPppoeiaResult *rpc_pppoeia_set_log_level_1_svc(rpcPppoeiaLoggingLevel level, svc_req *) {
    return answer(agent().setLogLevel(pppoeia::pppoeiaLoggingLevel(level)));
}

rpcPppoeiaResult *rpc_pppoeia_set_vsa_mode_1_svc(rpcPppoeiaVsaMode mode, svc_req *) {
    return answer(agent().setVsaMode(pppoeia::vsaMode_t(mode)));
}

rpcPppoeiaResult *rpc_pppoeia_set_vsa_circuitid_state_1_svc(int state, svc_req *) {
    return answer(agent().setVsaCircuitIdState(state != 0));
}

rpcPppoeiaResult *rpc_pppoeia_set_vsa_remoteid_state_1_svc(int state, svc_req *) {
    return answer(agent().setVsaRemoteIdState(state != 0));
}

rpcPppoeiaResult *rpc_pppoeia_reset_stat_1_svc(svc_req *) {
    return answer(agent().resetGlobalStatistics());
}

rpcPppoeiaResult *rpc_pppoeia_reset_interface_stat_1_svc(u_int if_index, svc_req *) {
    const auto result = agent().resetInterfaceStatistics(if_index);
    if (result == 0) clear_port_frames(default_bridge, if_index);
    return answer(result);
}

rpcPppoeiaResult *rpc_pppoeia_set_circuit_id_cvlan_1_svc(bool_t state, svc_req *) {
    return answer(agent().setVsaCircuitIdCVlanState(state != 0));
}

rpcPppoeiaResult *rpc_pppoeia_set_interface_circuit_id_mode_1_svc(u_int if_index,
                                                                  rpcPppoeiaCircuitIdMode mode,
                                                                  svc_req *) {
    return answer(agent().setVsaCircuitIdMode(if_index, pppoeia::vsaCircuitIdMode_t(mode)));
}

rpcPppoeiaResult *rpc_pppoeia_cid_format_set_1_svc(char *format, svc_req *) {
    return answer(agent().setVsaCircuitIdFormat(format));
}

rpcPppoeiaResult *rpc_pppoeia_rid_format_set_1_svc(char *format, svc_req *) {
    return answer(agent().setVsaRemoteIdFormat(format));
}

rpcPppoeiaResult *rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_svc(u_int if_index, u_short vlan_id,
                                                                  rpcPppoeiaCircuitIdMode mode,
                                                                  svc_req *) {
    return outside_profiles([&] {
        return agent().setVsaCircuitIdMode(if_index, vlan_id, pppoeia::vsaCircuitIdMode_t(mode));
    });
}
