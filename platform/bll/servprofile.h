// The service profiles of the node.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#pragma GCC visibility push(default)

class servprofile : public singleton<servprofile> {
public:
    // The Circuit-ID mode of an ATM PVC has changed. Returns 0, or 1 when a
    // subscriber refuses the change.
    int servProfileOnPppoeiaPvcCidModeChange(unsigned int if_index, unsigned int mode);

    Notification::EventOf<unsigned int, unsigned int> pvcCidModeChange;  // interface, mode
};

// Non-zero when the interface faces the network.
int servProfileCheckIfInterfaceUplink(unsigned int if_index);

#pragma GCC visibility pop
