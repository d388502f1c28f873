// Passes calls of other management code to the entity's operation of the same name.
// A refused setting is logged with its value.
#pragma once

#include "node/framework/entity_calls.h"

#include <functional>
#include <utility>

namespace ia {

class AgentCalls final : public node::EntityCalls {
public:
    // `when_arrived` makes the settings that the description does not have, and
    // ends the hold.
    explicit AgentCalls(std::function<void(const node::Arrivals &)> when_arrived = {})
        : when_arrived_(std::move(when_arrived)) {}

    bool hold(const std::string &bridge, std::uint32_t port) override;
    void arrived(const node::Arrivals &arrivals) override;

    void setSystemContact(const std::string &contact) override;
    void setSystemLocation(const std::string &location) override;
    void setSystemName(const std::string &name) override;
    void setIntfDescr(unsigned int if_index, const std::string &description) override;
    void setVlanName(unsigned short vlan_id, const std::string &name) override;
    void notifyPvcChange(unsigned int if_index, unsigned int vpi, unsigned int vci) override;
    void profileModeChange(bool profile_mode) override;

    void maxPduSet(const std::string &bridge, unsigned int pdu) override;
    void make(const node::Settings &settings) override;

private:
    const std::function<void(const node::Arrivals &)> when_arrived_;
};

}  // namespace ia
