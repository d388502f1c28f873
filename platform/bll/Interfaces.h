// The interface registry of the node. Lookups return 0 on success and do not change
// their output otherwise. Any thread may call them.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>

#pragma GCC visibility push(default)

// An interface as the node's OM API names it.
struct kvOMApiInterface_s {
    std::uint32_t family;  // 1: GPON
    std::uint32_t kind;    // 1: ONU
    std::uint32_t port;    // interface id of the OLT port
    std::uint32_t onu;     // number of the ONU on that port
};

class Interfaces : public singleton<Interfaces> {
public:
    enum interfaceType : std::uint32_t {
        interfaceTypeEth = 0,
        interfaceTypeDsl = 1,
        interfaceTypeAtm = 2,
        interfaceTypeOlt = 3,
        interfaceTypeOnu = 4,
        interfaceTypeGem = 5,
        interfaceTypeMng = 6,
        interfaceTypeLag = 7,
        interfaceTypeAccess = 8,
    };

    enum interfaceGPONEvent_t : std::uint32_t {
        gponGemAdded = 0,    // came into use
        gponGemDeleted = 1,  // went out of use
        gponGemMoved = 2,    // assigned to another subscriber: its counters start at 0
    };

    // An interface's location in the node.
    struct slot_port_s {
        char panel[8];  // label, at most 7 characters
        std::uint16_t value;
        std::uint8_t padding[2];
        std::uint32_t panel_validity;  // above 1: the panel has no label
        std::uint32_t port;
        std::uint32_t onu_or_pvc;
        std::uint32_t gem;
    };

    struct Interface {
        unsigned int id;
        std::string name;
        interfaceType type;
        std::uint32_t gemInUse;  // GEM ports only; 0: not in use
    };

    const std::string &entityName() const;

    int interfaceListGet(std::list<Interface> &list) const;  // ascending ids
    int interfaceGetLinuxnameById(unsigned int id, std::string &device) const;
    int interfaceGetNameById(unsigned int id, std::string &name) const;
    int interfaceGetTypeById(unsigned int id, interfaceType &type) const;
    int interfaceSlotPortIntfGet(unsigned int id, slot_port_s &location) const;
    int interfaceParentGet(unsigned int id, Interface &parent) const;
    int interfaceAllChildrenGet(unsigned int id, std::list<Interface> &children) const;
    int interfaceGetIdByOMApiInterface(const kvOMApiInterface_s &described, unsigned int &id) const;
    bool checkId(unsigned int id) const;

    Notification::EventOf<const char *, unsigned int> bridgeAdded;       // bridge, port records
    Notification::EventOf<const char *, int> portAdded;                  // bridge, interface
    Notification::EventOf<const char *, int> portDeleted;                // bridge, interface
    Notification::EventOf<int, int, int, interfaceGPONEvent_t> gponGem;  // id, parent, GEM number
};
static_assert(sizeof(Interfaces::slot_port_s) == 28);
static_assert(offsetof(Interfaces::slot_port_s, panel_validity) == 12);

#pragma GCC visibility pop
