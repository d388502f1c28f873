// The port drivers of the node.
#pragma once

#include "platform/bll/Notification.h"
#include "platform/bll/singleton.h"

#include <boost/shared_ptr.hpp>
#include <exception>
#include <string>

#pragma GCC visibility push(default)

class Ports : public singleton<Ports> {
public:
    // Thrown on a node without a driver of that kind.
    class nullImplException : public std::exception {
    public:
        const char *what() const noexcept override { return "no port driver"; }
    };

    class GponImpl {
    public:
        // Interface id of the OLT port, number of the ONU on it, its serial,
        // whether it is up.
        Notification::EventOf<unsigned int, unsigned int, const std::string &, bool>
            onuStateChanged;
    };

    // Throws nullImplException on a node without GPON.
    boost::shared_ptr<GponImpl> getGponImpl() const;
};

#pragma GCC visibility pop
