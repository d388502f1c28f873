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
    bool portIdToPortString(unsigned int ifIndex, std::string *out);

    // --- bridge, ports and VLANs as the node announces them ----------------------
    // A null or empty bridge name means "br0".
    bool bridgeAdd(const char *bridgeName, unsigned int portCount);  // always true
    bool bridgeDel(const char *bridgeName);
    void portAdd(const char *bridgeName, unsigned int ifIndex);
    bool portDel(const char *bridgeName, unsigned int ifIndex);
    bool maxPduSet(const char *bridgeName, unsigned int pdu);
    bool maxPduGet(const char *bridgeName, unsigned int &pdu);
    // These work on "br0" whatever the name.
    void vlanAdd(const char *bridgeName, unsigned short vlanId) const;
    void vlanDel(const char *bridgeName, unsigned short vlanId) const;
    void addVlanMembership(const char *bridgeName, unsigned short vlanId,
                           unsigned int ifIndex) const;
    void delVlanMembership(const char *bridgeName, unsigned short vlanId,
                           unsigned int ifIndex) const;
    int clearPortVlan(unsigned int ifIndex);
    int clearVlan();
    int profileModeChange(bool profileMode) const;

    // --- what else the node reports ----------------------------------------------
    bool GPONGemEvent(int ifIndex, int parentIfIndex, int gemId,
                      Interfaces::interfaceGPONEvent_t kind);
    void onuStateChangeEvent(unsigned int portId, unsigned int onuId, const std::string &serial,
                             bool up);
    void notifyPvcChange(unsigned int ifIndex, unsigned int vpi, unsigned int vci);
    void onChangeShelfId(const std::string &shelfId);
    void setSystemContact(const std::string &contact);
    void setSystemLocation(const std::string &location);
    void setSystemName(const std::string &name);
    void setIntfDescr(unsigned int ifIndex, const std::string &descr);
    void setVlanName(unsigned short vlanId, const std::string &name);

    // --- settings of the bridge and the process ------------------------------------
    int setState(bool state);
    int getState(bool &state) const;
    int setDebug(bool debug);
    int getDebug(bool &debug) const;
    int setDebugAdminState(bool state) const;
    int getDebugAdminState(bool &state) const;
    int setLogLevel(pppoeiaLoggingLevel level);
    int getLogLevel(pppoeiaLoggingLevel &level) const;
    int setShelfId(const std::string &shelfId);
    int getShelfId(std::string &shelfId) const;
    int setChassisId(int chassisId);
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
    int setVlanState(unsigned short vlanId, bool state);  // 2: no such VLAN
    int setVlanStateAll(bool state);
    int getVlanState(unsigned short vlanId, bool &state) const;

    // --- settings of an interface ------------------------------------------------------
    int setInterfaceState(unsigned int ifIndex, interfaceState_t state);
    int setInterfaceStateAll(interfaceState_t state);
    int getInterfaceState(unsigned int ifIndex, interfaceState_t &state) const;
    int setInterfaceMode(unsigned int ifIndex, interfaceMode_t mode);
    int setInterfaceModeAll(interfaceMode_t mode);
    int getInterfaceMode(unsigned int ifIndex, interfaceMode_t &mode) const;
    int setInterfaceRemoteId(unsigned int ifIndex, const std::string &remoteId);
    int getInterfaceRemoteId(unsigned int ifIndex, std::string &remoteId) const;
    int getInterfaceCircuitId(unsigned int ifIndex, std::string &circuitId) const;
    int setVsaCircuitIdMode(unsigned int ifIndex, vsaCircuitIdMode_t mode);  // 2: ATM, on no PVC
    int getVsaCircuitIdMode(unsigned int ifIndex, vsaCircuitIdMode_t &mode) const;

    // --- settings of an interface and VLAN ---------------------------------------------
    int setVsaCircuitIdMode(unsigned int ifIndex, unsigned short vlanId, vsaCircuitIdMode_t mode);
    int getVsaCircuitIdMode(unsigned int ifIndex, unsigned short vlanId,
                            vsaCircuitIdMode_t &mode) const;
    int setVsaCircuitIdFormat(unsigned int ifIndex, unsigned short vlanId,
                              const std::string &format);
    int getVsaCircuitIdFormat(unsigned int ifIndex, unsigned short vlanId,
                              std::string &format) const;
    int setVsaRemoteIdFormat(unsigned int ifIndex, unsigned short vlanId,
                             const std::string &format);
    int getVsaRemoteIdFormat(unsigned int ifIndex, unsigned short vlanId,
                             std::string &format) const;

    // --- statistics ------------------------------------------------------------------------
    int getGlobalStatistics(pppoeia_stats &stats) const;
    int resetGlobalStatistics() const;
    // With GPON, an ONU's are the sum over its GEM ports, an OLT port's over its ONUs.
    int getInterfaceStatistics(unsigned int ifIndex, pppoeia_stats &stats) const;
    int resetInterfaceStatistics(unsigned int ifIndex) const;

    // --- views of several settings -----------------------------------------------------------
    int getPortVlan(unsigned int ifIndex, unsigned short vlanId, portVlanInfo_t &info) const;
    int getPortVlanList(unsigned int ifIndex, std::list<portVlanInfo_t> &list) const;
    int getVlanInfo(unsigned short vlanId, vlanInfo_t &info) const;
    int getVlanInfo(std::list<vlanInfo_t> &list) const;
    int getInterfaceInfo(unsigned int ifIndex, interfaceInfo_t &info) const;
    // With skipGponParents, without OLT ports, ONUs and GEM ports that are not in use.
    int getInterfaceInfo(std::list<interfaceInfo_t> &list, bool skipGponParents) const;

    // The IDs that a subscriber gets now; `out` holds 64 bytes.
    int genCircuitIdByIntfVlan(unsigned int ifIndex, unsigned short vlanId, char *out) const;
    int genRemoteIdByIntfVlan(unsigned int ifIndex, unsigned short vlanId, char *out) const;

private:
    friend class singleton<pppoeia>;
    pppoeia();

    struct Subscription;
    std::vector<Subscription> subscriptions();
    void eachGponSubscription(void (*act)(const Subscription &));

    RPCProxy rpcProxy;
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
