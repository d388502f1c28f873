// The bridging layer: bridges and their VLANs.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#include <cstdint>
#include <string>

#pragma GCC visibility push(default)

class kvbridge : public singleton<kvbridge> {
public:
    struct vlanInfo {
        std::uint16_t vlanId;
        std::string name;
    };

    // The VLAN `index` of the bridge, or of any bridge when the name is null or
    // empty; an index is a VLAN id, 0 to 4095. Returns 0 when there is one.
    int vlanGetInfoId(const char *bridge, std::uint16_t index, vlanInfo &info) const;

    Notification::EventOf<const char *> bridgeDeleted;
    Notification::EventOf<const char *, unsigned short> vlanAdded;
    Notification::EventOf<const char *, unsigned short> vlanDeleted;
};

#pragma GCC visibility pop
