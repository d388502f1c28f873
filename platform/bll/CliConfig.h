// The node's configuration through its command line.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#pragma GCC visibility push(default)

class CliConfig : public singleton<CliConfig> {
public:
    // Whether the node is configured through service profiles.
    bool checkProfileMode() const;

    Notification::Callbacks<boost::function<void()>> clearConfigStart;
    Notification::Callbacks<boost::function<void()>> clearConfigStop;
    Notification::Callbacks<boost::function<void()>> saveConfigStart;
    Notification::Callbacks<boost::function<void()>> saveConfigStop;
};

#pragma GCC visibility pop
