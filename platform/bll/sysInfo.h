// Properties of the node as a whole.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#include <string>

#pragma GCC visibility push(default)

class sysInfo : public singleton<sysInfo> {
public:
    // Returns 0, or 1 when the node has no shelf id.
    int getShelfId(std::string &shelf) const;

    Notification::EventOf<const std::string &> shelfIdChanged;
};

// Whether a feature of the node is active.
inline constexpr int FEATURE_GPON = 5;
bool isActive(int feature);

#pragma GCC visibility pop
