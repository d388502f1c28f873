// System information that custom IDs may contain: contact, location and name of
// the node, interface descriptions, subscriber equipment.
#include "fe/base/text.h"
#include "pppoeia/fe.h"
#include "store/operation.h"

#include <cstring>

using namespace ia;

namespace {

template <std::size_t Size>
int set_text(const char *operation, const char *bridge, char (pppoeia_bridge::*field)[Size],
             const char *text) {
    trace_call(operation, bridge);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &b) {
        if (!fits(b.*field, text)) return refuse(operation, -ENOSPC);
        copy_text(b.*field, text);
        return 0;
    });
}

template <std::size_t Size>
int set_text(const char *operation, const char *bridge, std::uint32_t port,
             char (pppoeia_port::*field)[Size], const char *text) {
    trace_call(operation, bridge, port, text);
    return on_port(operation, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        if (!fits(p.*field, text)) return refuse(operation, -ENOSPC);
        copy_text(p.*field, text);
        return 0;
    });
}

template <std::size_t Size>
int get_text(const char *operation, const char *bridge, std::uint32_t port,
             char (pppoeia_port::*field)[Size], char *out) {
    trace_call(operation, bridge, port);
    return on_port(operation, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        std::memcpy(out, p.*field, Size);
        return 0;
    });
}

}  // namespace

int fe_pppoeia_bridge_contact_set(const char *bridge, const char *contact) {
    return set_text(__func__, bridge, &pppoeia_bridge::contact, contact);
}

int fe_pppoeia_bridge_contact_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::contact, out);
}

int fe_pppoeia_bridge_location_set(const char *bridge, const char *location) {
    return set_text(__func__, bridge, &pppoeia_bridge::location, location);
}

int fe_pppoeia_bridge_location_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::location, out);
}

int fe_pppoeia_bridge_sysname_set(const char *bridge, const char *sysname) {
    return set_text(__func__, bridge, &pppoeia_bridge::sysname, sysname);
}

int fe_pppoeia_bridge_sysname_get(const char *bridge, char *out) {
    return get_text(__func__, bridge, &pppoeia_bridge::sysname, out);
}

int fe_pppoeia_bridge_intf_descr_set(const char *bridge, std::uint32_t port, const char *descr) {
    return set_text(__func__, bridge, port, &pppoeia_port::intf_descr, descr);
}

int fe_pppoeia_bridge_intf_descr_get(const char *bridge, std::uint32_t port, char *out) {
    return get_text(__func__, bridge, port, &pppoeia_port::intf_descr, out);
}

int fe_pppoeia_bridge_cpe_serial_set(const char *bridge, std::uint32_t port, const char *serial) {
    return set_text(__func__, bridge, port, &pppoeia_port::cpe_serial, serial);
}

int fe_pppoeia_bridge_cpe_serial_get(const char *bridge, std::uint32_t port, char *out) {
    return get_text(__func__, bridge, port, &pppoeia_port::cpe_serial, out);
}

int fe_pppoeia_bridge_cpe_mac_set(const char *bridge, std::uint32_t port, pppoeia_mac mac) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        p.cpe_mac = mac;
        return 0;
    });
}

int fe_pppoeia_bridge_cpe_serial_get(const char *bridge, std::uint32_t port, unsigned char *out) {
    trace_call(__func__, bridge, port);
    if (!out) return refuse(__func__, -EINVAL);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        std::memcpy(out, p.cpe_mac.bytes, sizeof p.cpe_mac);
        return 0;
    });
}
