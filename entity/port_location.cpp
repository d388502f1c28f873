#include "entity/port_location.h"

#include "platform/bll/Interfaces.h"

#include <cstring>

namespace ia {

bool location_of(unsigned int if_index, pppoeia_port_location &location) {
    Interfaces::slot_port_s place{};
    if (Interfaces::instance().interfaceSlotPortIntfGet(if_index, place) != 0) return false;
    location = {};
    std::memcpy(location.panel, place.panel, sizeof location.panel);
    location.value = place.value;
    location.panel_validity = place.panel_validity;
    location.port = place.port;
    location.onu_or_pvc = place.onu_or_pvc;
    location.gem = place.gem;
    return true;
}

}  // namespace ia
