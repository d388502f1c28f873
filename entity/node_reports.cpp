// Handlers for the node's reports of GPON equipment, PVCs and its own texts.
#include "entity/operation.h"
#include "entity/port_location.h"
#include "entity/pppoeia.h"
#include "platform/bll/onuEquipment.h"
#include "pppoeia/client.h"

#include <cctype>
#include <cstring>
#include <optional>
#include <string_view>

using namespace ia;

namespace {

constexpr char handler[] = "pppoeia::onuStateChangeEvent: ";

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// "414243441234ABCD" -> "ABCD1234ABCD": the vendor's four letters stand in
// hexadecimal. Nothing when they do not.
std::optional<std::string> cpe_serial(const std::string &serial) {
    constexpr std::size_t vendor_digits = 8;
    if (serial.size() < vendor_digits) return std::nullopt;
    std::string text;
    for (std::size_t at = 0; at < vendor_digits; at += 2) {
        const int high = hex_digit(serial[at]);
        const int low = hex_digit(serial[at + 1]);
        if (high < 0 || low < 0 || high + low == 0) return std::nullopt;  // a text ends at 00
        text += static_cast<char>(high << 4 | low);
    }
    return text + serial.substr(vendor_digits);
}

std::optional<unsigned int> interface_of_onu(unsigned int port, unsigned int onu) {
    constexpr std::uint32_t gpon = 1;
    constexpr std::uint32_t kind_onu = 1;
    unsigned int id = 0;
    const kvOMApiInterface_s described{gpon, kind_onu, port, onu};
    if (Interfaces::instance().interfaceGetIdByOMApiInterface(described, id) == 0) return id;
    log_line(log_error, handler, "interfaceGetIdByOMApiInterface failed for portId ", port,
             ", onuId ", onu, ".\n");
    return std::nullopt;
}

bool store_serial(unsigned int id, const std::string &serial) {
    const std::optional<std::string> text = cpe_serial(serial);
    if (!text) {
        log_line(log_error, handler, "invalid serial for intf ", id, ".\n");
        return false;
    }
    if (pppoeia_bridge_cpe_serial_set(pppoeia::m_default_bridge_name, id, text->c_str()) == 0)
        return true;
    log_line(log_error, handler, "pppoeia_bridge_cpe_serial_set failed for intf ", id, ".\n");
    return false;
}

void store_mac(unsigned int id) {
    constexpr std::uint32_t fields = 0x10000000;
    constexpr std::uint32_t count = 64;
    onuConfigTableGet record{};
    if (onuEquipment::instance().onuConfigGet(id, record, fields, count, fields) != 0) {
        log_line(log_error, handler, "onuConfigGet failed for intf ", id, ".\n");
        return;
    }
    pppoeia_mac mac{};
    if (record.mac_length != sizeof mac.bytes) {
        log_line(log_error, handler, "Invalid MAC string length: ", record.mac_length, ".\n");
        return;
    }
    std::memcpy(mac.bytes, record.mac, sizeof mac.bytes);
    if (pppoeia_bridge_cpe_mac_set(pppoeia::m_default_bridge_name, id, mac) != 0)
        log_line(log_error, handler, "pppoeia_bridge_cpe_mac_set failed for intf ", id, ".\n");
}

// Stores a text of the node even if the framework's lock could not be taken: the
// store has its own lock, and the node would not send the text again.
template <class Call, class... Args>
void store_text(const char *name, Call call, Args... args) {
    const BLLManager::exclusiveLock_t lock;
    if (!lock.owns_lock())
        log_line(log_error, "pppoeia::", name, ": obtaining exclusive lock failed.\n");
    call(pppoeia::m_default_bridge_name, args...);
}

}  // namespace

// Kinds 0 and 2 move a GEM port; kind 2 gives it to another subscriber as well.
bool pppoeia::GPONGemEvent(int if_index, int parent_if_index, int gem_id,
                           Interfaces::interfaceGPONEvent_t kind) {
    if ((kind & ~2U) != 0) return true;
    const auto id = static_cast<unsigned int>(if_index);
    std::string name;
    if (Interfaces::instance().interfaceGetNameById(id, name) != 0) {
        log_line(log_error, "Error mapping intf id to intf name for intf=", if_index, "\n");
        return false;
    }
    pppoeia_port_location location;
    if (!location_of(id, location)) {
        log_line(log_error, "GPONGemEvent:interfaceSlotPortIntfGet failed for intf=", if_index,
                 "\n");
        return false;
    }
    if (pppoeia_port_name_update(m_default_bridge_name, id, name.c_str(), &location) != 0)
        log_line(log_warning, "pppoeia", ":", 656, ":", "GPONGemEvent", ":",
                 "PPPOE ERROR - pppoeia_port_name_update() failed for intf: ", if_index, "\n");
    if (pppoeia_port_parent_set(m_default_bridge_name, id,
                                static_cast<std::uint32_t>(parent_if_index)) != 0)
        log_line(log_warning, "pppoeia", ":", 662, ":", "GPONGemEvent", ":",
                 "PPPOE ERROR - pppoeia_port_parent_set() failed for intf: ", if_index,
                 "parent: ", parent_if_index, "\n");
    if (kind == Interfaces::gponGemMoved)
        if (const int result = resetInterfaceStatistics(id); result != 0)
            log_line(log_error, "pppoeia::GPONGemEvent error ", result, " intfid: ", if_index,
                     "parentid: ", parent_if_index, "gemid: ", gem_id, " type: ", kind);
    return true;
}

void pppoeia::onuStateChangeEvent(unsigned int port_id, unsigned int onu_id,
                                  const std::string &serial, bool) {
    const BLLManager::exclusiveLock_t lock;
    if (!lock.owns_lock()) {
        log_line(log_error, handler, "obtaining exclusive lock failed.\n");
        return;
    }
    const std::optional<unsigned int> id = interface_of_onu(port_id, onu_id);
    if (id && store_serial(*id, serial)) store_mac(*id);
}

void pppoeia::notifyPvcChange(unsigned int if_index, unsigned int vpi, unsigned int vci) {
    const BLLManager::exclusiveLock_t lock;
    if (!lock.owns_lock())
        log_line(log_error, "pppoeia::notifyPvcChange: obtaining exclusive lock failed.\n");
    else if (pppoeia_port_pvc_set(m_default_bridge_name, if_index, vpi, vci) != 0)
        log_line(log_warning, "pppoeia::notifyPvcChange: cannot set VPI: ", vpi, ", VCI: ", vci,
                 " on interface: ", if_index, ".\n");
}

void pppoeia::onChangeShelfId(const std::string &shelf_id) {
    store_text("onChangeShelfId", pppoeia_bridge_shelf_id_set, shelf_id.c_str());
}

void pppoeia::setSystemContact(const std::string &contact) {
    store_text("setSystemContact", pppoeia_bridge_contact_set, contact.c_str());
}

void pppoeia::setSystemLocation(const std::string &location) {
    store_text("setSystemLocation", pppoeia_bridge_location_set, location.c_str());
}

void pppoeia::setSystemName(const std::string &name) {
    store_text("setSystemName", pppoeia_bridge_sysname_set, name.c_str());
}

void pppoeia::setIntfDescr(unsigned int if_index, const std::string &descr) {
    store_text("setIntfDescr", pppoeia_bridge_intf_descr_set, if_index, descr.c_str());
}

void pppoeia::setVlanName(unsigned short vlan_id, const std::string &name) {
    store_text("setVlanName", pppoeia_vlan_name_set, vlan_id, name.c_str());
}
