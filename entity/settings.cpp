// Settings: each operation makes one call of the client API.
#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "platform/bll/kvbridge.h"
#include "platform/bll/servprofile.h"
#include "pppoeia/client.h"

using namespace ia;

namespace {

constexpr std::size_t long_text = 255;

std::uint32_t trust_of(pppoeia::interfaceMode_t mode) {
    return mode ? PPPOEIA_PORT_UNTRUSTED : PPPOEIA_PORT_TRUSTED;
}

}  // namespace

// --- of the bridge and the process ---------------------------------------------

int pppoeia::setState(bool state) {
    return change(pppoeia_bridge_state_set, default_bridge, state);
}
int pppoeia::getState(bool &state) const {
    return read_number(state, pppoeia_bridge_state_get, default_bridge);
}

int pppoeia::setDebug(bool debug) {
    return change(pppoeia_bridge_debug_set, default_bridge, debug);
}
int pppoeia::getDebug(bool &debug) const {
    return read_number(debug, pppoeia_bridge_debug_get, default_bridge);
}

int pppoeia::setDebugAdminState(bool state) const {
    return change(pppoeia_debug_admin_state_set, state);
}

// The only query under the exclusive lock.
int pppoeia::getDebugAdminState(bool &state) const {
    std::uint32_t stored = 0;
    if (change(pppoeia_debug_admin_state_get, &stored) != succeeded) return failed;
    state = stored != 0;
    return succeeded;
}

int pppoeia::setLogLevel(pppoeiaLoggingLevel level) {
    return change(pppoeia_log_level_set, level);
}
int pppoeia::getLogLevel(pppoeiaLoggingLevel &level) const {
    return read_number<std::int32_t>(level, pppoeia_log_level_get);
}

int pppoeia::setShelfId(const std::string &shelf_id) {
    return change(pppoeia_bridge_shelf_id_set, default_bridge, shelf_id.c_str());
}
int pppoeia::getShelfId(std::string &shelf_id) const {
    return read_text<long_text>(shelf_id, pppoeia_bridge_shelf_id_get, default_bridge);
}

int pppoeia::setChassisId(int chassis_id) {
    return change(pppoeia_bridge_chassis_id_set, default_bridge,
                  static_cast<std::uint32_t>(chassis_id));
}

int pppoeia::setVsaMode(vsaMode_t mode) {
    return change(pppoeia_bridge_vsa_mode_set, default_bridge, mode);
}
int pppoeia::getVsaMode(vsaMode_t &mode) const {
    return read_number(mode, pppoeia_bridge_vsa_mode_get, default_bridge);
}

int pppoeia::setVsaCircuitIdState(bool state) {
    return change(pppoeia_bridge_vsa_insert_circuit_id_set, default_bridge, state);
}
int pppoeia::getVsaCircuitIdState(bool &state) const {
    return read_number(state, pppoeia_bridge_vsa_insert_circuit_id_get, default_bridge);
}

int pppoeia::setVsaRemoteIdState(bool state) {
    return change(pppoeia_bridge_vsa_insert_remote_id_set, default_bridge, state);
}
int pppoeia::getVsaRemoteIdState(bool &state) const {
    return read_number(state, pppoeia_bridge_vsa_insert_remote_id_get, default_bridge);
}

int pppoeia::setVsaCircuitIdCVlanState(bool state) {
    return change(pppoeia_bridge_vsa_circuit_id_cvlan_set, default_bridge, state);
}
int pppoeia::getVsaCircuitIdCVlanState(bool &state) const {
    return read_number(state, pppoeia_bridge_vsa_circuit_id_cvlan_get, default_bridge);
}

int pppoeia::setVsaCircuitIdFormat(const std::string &format) {
    return change(pppoeia_circuit_id_format_set, default_bridge, format.c_str());
}
int pppoeia::getVsaCircuitIdFormat(std::string &format) const {
    return read_text<PPPOEIA_FORMAT_SIZE>(format, pppoeia_circuit_id_format_get, default_bridge);
}

int pppoeia::setVsaRemoteIdFormat(const std::string &format) {
    return change(pppoeia_remote_id_format_set, default_bridge, format.c_str());
}
int pppoeia::getVsaRemoteIdFormat(std::string &format) const {
    return read_text<PPPOEIA_FORMAT_SIZE>(format, pppoeia_remote_id_format_get, default_bridge);
}

int pppoeia::setVlanState(unsigned short vlan_id, bool state) {
    return exclusively([&] {
        kvbridge::vlanInfo known{};
        if (kvbridge::instance().vlanGetInfoId(default_bridge, vlan_id, known) != 0)
            return not_applicable;
        return EntityResult(entity_result(pppoeia_bridge_vlan_set(default_bridge, vlan_id, state)));
    });
}
int pppoeia::setVlanStateAll(bool state) {
    return change(pppoeia_bridge_vlan_set_all, default_bridge, state);
}
int pppoeia::getVlanState(unsigned short vlan_id, bool &state) const {
    return read_number(state, pppoeia_bridge_vlan_get, default_bridge, vlan_id);
}

// --- of an interface -------------------------------------------------------------

int pppoeia::setInterfaceState(unsigned int if_index, interfaceState_t state) {
    return change(pppoeia_port_state_set, default_bridge, if_index,
                  static_cast<std::int32_t>(state));
}
int pppoeia::setInterfaceStateAll(interfaceState_t state) {
    return change(pppoeia_port_state_set_all, default_bridge, state);
}
int pppoeia::getInterfaceState(unsigned int if_index, interfaceState_t &state) const {
    return read_number(state, pppoeia_port_state_get, default_bridge, if_index);
}

int pppoeia::setInterfaceMode(unsigned int if_index, interfaceMode_t mode) {
    return change(pppoeia_port_trust_set, default_bridge, if_index, trust_of(mode));
}
int pppoeia::setInterfaceModeAll(interfaceMode_t mode) {
    return change(pppoeia_port_trust_set_all, default_bridge, trust_of(mode));
}
// A stored value that is no mode is left out; it is not an error.
int pppoeia::getInterfaceMode(unsigned int if_index, interfaceMode_t &mode) const {
    std::uint32_t trust = 0;
    if (read_number(trust, pppoeia_port_trust_get, default_bridge, if_index) != succeeded)
        return failed;
    if (trust == PPPOEIA_PORT_TRUSTED || trust == PPPOEIA_PORT_UNTRUSTED)
        mode = interfaceMode_t(trust);
    return succeeded;
}

int pppoeia::setInterfaceRemoteId(unsigned int if_index, const std::string &remote_id) {
    return change(pppoeia_port_remote_id_set, default_bridge, if_index, remote_id.c_str());
}
int pppoeia::getInterfaceRemoteId(unsigned int if_index, std::string &remote_id) const {
    return read_text<long_text>(remote_id, pppoeia_port_remote_id_get, default_bridge, if_index);
}
int pppoeia::getInterfaceCircuitId(unsigned int if_index, std::string &circuit_id) const {
    return read_text<long_text>(circuit_id, pppoeia_port_circuit_id_get, default_bridge, if_index);
}

// The ATM form is for PVCs; their service profile is told of each change.
int pppoeia::setVsaCircuitIdMode(unsigned int if_index, vsaCircuitIdMode_t mode) {
    return exclusively([&] {
        Interfaces::interfaceType type{};
        if (Interfaces::instance().interfaceGetTypeById(if_index, type) != 0) return failed;
        const bool is_pvc = type == Interfaces::interfaceTypeAtm;
        if (mode == vsaCircuitIdMode_t(PPPOEIA_CID_ATM) && !is_pvc) return not_applicable;
        if (pppoeia_port_vsa_circuit_id_mode_set(default_bridge, if_index, mode) != 0)
            return failed;
        if (is_pvc &&
            servprofile::instance().servProfileOnPppoeiaPvcCidModeChange(if_index, mode) != 0)
            return failed;
        return succeeded;
    });
}
int pppoeia::getVsaCircuitIdMode(unsigned int if_index, vsaCircuitIdMode_t &mode) const {
    return read_number(mode, pppoeia_port_vsa_circuit_id_mode_get, default_bridge, if_index);
}

// --- of an interface and VLAN ------------------------------------------------------

int pppoeia::setVsaCircuitIdMode(unsigned int if_index, unsigned short vlan_id,
                                 vsaCircuitIdMode_t mode) {
    return change(pppoeia_circuit_id_mode_port_vlan_set, default_bridge, if_index, vlan_id, mode);
}
int pppoeia::getVsaCircuitIdMode(unsigned int if_index, unsigned short vlan_id,
                                 vsaCircuitIdMode_t &mode) const {
    return read_number(mode, pppoeia_circuit_id_mode_port_vlan_get, default_bridge, if_index,
                       vlan_id);
}

int pppoeia::setVsaCircuitIdFormat(unsigned int if_index, unsigned short vlan_id,
                                   const std::string &format) {
    return change(pppoeia_circuit_id_format_port_vlan_set, default_bridge, if_index, vlan_id,
                  format.c_str());
}
int pppoeia::getVsaCircuitIdFormat(unsigned int if_index, unsigned short vlan_id,
                                   std::string &format) const {
    return read_text<PPPOEIA_FORMAT_SIZE>(format, pppoeia_circuit_id_format_port_vlan_get,
                                          default_bridge, if_index, vlan_id);
}

int pppoeia::setVsaRemoteIdFormat(unsigned int if_index, unsigned short vlan_id,
                                  const std::string &format) {
    return change(pppoeia_remote_id_format_port_vlan_set, default_bridge, if_index, vlan_id,
                  format.c_str());
}
int pppoeia::getVsaRemoteIdFormat(unsigned int if_index, unsigned short vlan_id,
                                  std::string &format) const {
    return read_text<PPPOEIA_FORMAT_SIZE>(format, pppoeia_remote_id_format_port_vlan_get,
                                          default_bridge, if_index, vlan_id);
}
