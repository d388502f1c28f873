// The management entity of the PPPoE Intermediate Agent.
//
// Follows the node's bridges, interfaces, VLANs and GPON events, keeps the
// engine's configuration in step through the client API, and offers the typed
// operations that the RPC service and other management code call. It keeps no
// settings of its own: every one is read back from the store.
//
// There is one, made when the library is loaded and registered with the
// framework. Its operations may be called from any thread; each takes the
// framework's lock itself: the exclusive one to change, the shared one to ask.
// Operations that return an int answer 0 success, 1 failure (also when the lock
// could not be had), 2 not found or not applicable.
#pragma once

#include "platform/bll/BLEntity.h"
#include "platform/bll/Interfaces.h"
#include "platform/bll/singleton.h"
#include "pppoeia/records.h"
#include "rte/BLL/core/rpcProxy.h"

#include <cstdint>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

class pppoeia : public BLEntity, public singleton<pppoeia> {
public:
    // The numbers are the store's.
    enum interfaceState_t : std::uint32_t {};    // pppoeia_port_state
    enum interfaceMode_t : std::uint32_t {};     // pppoeia_port_trust
    enum vsaMode_t : std::uint32_t {};           // pppoeia_vsa_mode
    enum vsaCircuitIdMode_t : std::uint32_t {};  // pppoeia_cid_mode, always set
    enum pppoeiaLoggingLevel : std::int32_t {};  // the trace level

    struct vlanInfo_t {
        std::uint16_t vlanId = 0;
        bool state = false;  // served by the agent
    };

    struct portVlanInfo_t {
        std::uint32_t ifIndex = 0;
        std::uint16_t vlanId = 0;
        vsaCircuitIdMode_t cidMode{};
        std::string cidFormat;
        std::string ridFormat;
    };

    struct interfaceInfo_t {
        std::uint32_t ifIndex = 0;
        std::string name;
        Interfaces::interfaceType type{};
        interfaceState_t state{};
        interfaceMode_t mode{};
        std::string remoteId;
        std::string circuitId;
        vsaCircuitIdMode_t cidMode{};
        std::list<portVlanInfo_t> portVlans;
    };

    // The full default configuration of the node as it is now.
    struct settings_t {
        settings_t();

        bool state = false;
        std::uint32_t vsaMode = PPPOEIA_VSA_REMOVE;
        bool vsaCircuitIdState = true;
        bool vsaRemoteIdState = true;
        bool debug = false;
        std::string agentIdString = "KORVALEN:MEA";
        std::int32_t chassisId = defaultChassisId;
        std::list<interfaceInfo_t> interfaces;
        std::list<vlanInfo_t> vlans;
        std::uint32_t reserved = 0;
        std::uint32_t logLevel = 3;
        std::string cidFormat = pppoeia_cid_format_def;
        std::string ridFormat = pppoeia_rid_format_def;
    };

    static const char *const m_default_bridge_name;
    static const std::string defaultVendorId;
    static const std::string defaultShelfId;
    static constexpr int defaultChassisId = 99;
    static const std::string pppoeia_cid_format_def;
    static const std::string pppoeia_rid_format_def;

    // --- life, called by the framework -------------------------------------------
    void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) override;
    void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const override;
    bool start() override;
    bool applyDefaultSettings() override;
    bool stop() override;
    void getDependencies(std::list<std::string> &names) override;

    void configurationApplyStart();
    void configurationApplyStop();
    void clearConfigStart();
    void clearConfigStop();
    void saveConfigStart();
    void saveConfigStop();

    // An operator's diagnostic command; reports go to the terminal `target`.
    void externalMessage(const std::string &command, const std::string &argument,
                         std::ostringstream *stream, const std::string &target);

    // False for a null output or an unknown interface.
    bool portIdToPortString(unsigned int if_index, std::string *out);

    // --- bridge, ports and VLANs as the node announces them ----------------------
    // A null or empty bridge name means "br0".
    bool bridgeAdd(const char *bridge_name, unsigned int port_count);  // always true
    bool bridgeDel(const char *bridge_name);
    void portAdd(const char *bridge_name, unsigned int if_index);
    bool portDel(const char *bridge_name, unsigned int if_index);
    bool maxPduSet(const char *bridge_name, unsigned int pdu);
    bool maxPduGet(const char *bridge_name, unsigned int &pdu);
    // These work on "br0" whatever the name.
    void vlanAdd(const char *bridge_name, unsigned short vlan_id) const;
    void vlanDel(const char *bridge_name, unsigned short vlan_id) const;
    void addVlanMembership(const char *bridge_name, unsigned short vlan_id,
                           unsigned int if_index) const;
    void delVlanMembership(const char *bridge_name, unsigned short vlan_id,
                           unsigned int if_index) const;
    int clearPortVlan(unsigned int if_index);
    int clearVlan();
    int profileModeChange(bool profile_mode) const;

    // --- what else the node reports ----------------------------------------------
    bool GPONGemEvent(int if_index, int parent_if_index, int gem_id,
                      Interfaces::interfaceGPONEvent_t kind);
    void onuStateChangeEvent(unsigned int port_id, unsigned int onu_id, const std::string &serial,
                             bool up);
    void notifyPvcChange(unsigned int if_index, unsigned int vpi, unsigned int vci);
    void onChangeShelfId(const std::string &shelf_id);
    void setSystemContact(const std::string &contact);
    void setSystemLocation(const std::string &location);
    void setSystemName(const std::string &name);
    void setIntfDescr(unsigned int if_index, const std::string &descr);
    void setVlanName(unsigned short vlan_id, const std::string &name);

    // --- settings of the bridge and the process ------------------------------------
    int setState(bool state);
    int getState(bool &state) const;
    int setDebug(bool debug);
    int getDebug(bool &debug) const;
    int setDebugAdminState(bool state) const;
    int getDebugAdminState(bool &state) const;
    int setLogLevel(pppoeiaLoggingLevel level);
    int getLogLevel(pppoeiaLoggingLevel &level) const;
    int setShelfId(const std::string &shelf_id);
    int getShelfId(std::string &shelf_id) const;
    int setChassisId(int chassis_id);
    int setVsaMode(vsaMode_t mode);
    int getVsaMode(vsaMode_t &mode) const;
    int setVsaCircuitIdState(bool state);
    int getVsaCircuitIdState(bool &state) const;
    int setVsaRemoteIdState(bool state);
    int getVsaRemoteIdState(bool &state) const;
    int setVsaCircuitIdCVlanState(bool state);
    int getVsaCircuitIdCVlanState(bool &state) const;
    int setVsaCircuitIdFormat(const std::string &format);
    int getVsaCircuitIdFormat(std::string &format) const;
    int setVsaRemoteIdFormat(const std::string &format);
    int getVsaRemoteIdFormat(std::string &format) const;
    int setVlanState(unsigned short vlan_id, bool state);  // 2: no such VLAN
    int setVlanStateAll(bool state);
    int getVlanState(unsigned short vlan_id, bool &state) const;

    // --- settings of an interface ------------------------------------------------------
    int setInterfaceState(unsigned int if_index, interfaceState_t state);
    int setInterfaceStateAll(interfaceState_t state);
    int getInterfaceState(unsigned int if_index, interfaceState_t &state) const;
    int setInterfaceMode(unsigned int if_index, interfaceMode_t mode);
    int setInterfaceModeAll(interfaceMode_t mode);
    int getInterfaceMode(unsigned int if_index, interfaceMode_t &mode) const;
    int setInterfaceRemoteId(unsigned int if_index, const std::string &remote_id);
    int getInterfaceRemoteId(unsigned int if_index, std::string &remote_id) const;
    int getInterfaceCircuitId(unsigned int if_index, std::string &circuit_id) const;
    int setVsaCircuitIdMode(unsigned int if_index, vsaCircuitIdMode_t mode);  // 2: ATM, on no PVC
    int getVsaCircuitIdMode(unsigned int if_index, vsaCircuitIdMode_t &mode) const;

    // --- settings of an interface and VLAN ---------------------------------------------
    int setVsaCircuitIdMode(unsigned int if_index, unsigned short vlan_id, vsaCircuitIdMode_t mode);
    int getVsaCircuitIdMode(unsigned int if_index, unsigned short vlan_id,
                            vsaCircuitIdMode_t &mode) const;
    int setVsaCircuitIdFormat(unsigned int if_index, unsigned short vlan_id,
                              const std::string &format);
    int getVsaCircuitIdFormat(unsigned int if_index, unsigned short vlan_id,
                              std::string &format) const;
    int setVsaRemoteIdFormat(unsigned int if_index, unsigned short vlan_id,
                             const std::string &format);
    int getVsaRemoteIdFormat(unsigned int if_index, unsigned short vlan_id,
                             std::string &format) const;

    // --- statistics ------------------------------------------------------------------------
    int getGlobalStatistics(pppoeia_stats &stats) const;
    int resetGlobalStatistics() const;
    // With GPON, an ONU's are the sum over its GEM ports, an OLT port's over its ONUs.
    int getInterfaceStatistics(unsigned int if_index, pppoeia_stats &stats) const;
    int resetInterfaceStatistics(unsigned int if_index) const;

    // --- views of several settings -----------------------------------------------------------
    int getPortVlan(unsigned int if_index, unsigned short vlan_id, portVlanInfo_t &info) const;
    int getPortVlanList(unsigned int if_index, std::list<portVlanInfo_t> &list) const;
    int getVlanInfo(unsigned short vlan_id, vlanInfo_t &info) const;
    int getVlanInfo(std::list<vlanInfo_t> &list) const;
    int getInterfaceInfo(unsigned int if_index, interfaceInfo_t &info) const;
    // With `skip_gpon_parents`, without OLT ports, ONUs and GEM ports that are not in use.
    int getInterfaceInfo(std::list<interfaceInfo_t> &list, bool skip_gpon_parents) const;

    // The IDs that a subscriber gets now; `out` holds 64 bytes.
    int genCircuitIdByIntfVlan(unsigned int if_index, unsigned short vlan_id, char *out) const;
    int genRemoteIdByIntfVlan(unsigned int if_index, unsigned short vlan_id, char *out) const;

private:
    friend class singleton<pppoeia>;
    pppoeia();

    struct Subscription;
    std::vector<Subscription> subscriptions();
    void eachGponSubscription(void (*act)(const Subscription &));

    RPCProxy rpc_proxy_;
};

#pragma GCC visibility pop

namespace ia {

// The bridge of every operation that names none.
inline constexpr const char *const &default_bridge = pppoeia::m_default_bridge_name;

// The process's one.
inline pppoeia &agent() {
    return pppoeia::instance();
}

}  // namespace ia
