#include "store/accessors.h"

#include "fe/base/trace.h"

#include <cerrno>
#include <cstring>

namespace {

// Runs `read` on the port.
template <class Read>
int read_port(const char *reader, const pppoeia_bridge &bridge, std::uint32_t id, Read read) {
    const pppoeia_port *port = bridge.port(id);
    return port ? read(*port) : ia::refuse_port(reader, id);
}

// Runs `read` on the port's entry for the VLAN.
template <class Read>
int read_entry(const char *reader, const pppoeia_bridge &bridge, std::uint32_t id,
               std::uint16_t vid, Read read) {
    ia::trace_call(reader, bridge.name);
    return read_port(reader, bridge, id, [&](const pppoeia_port &port) {
        const auto entry = port.port_vlans.find(vid);
        if (entry == port.port_vlans.end()) return ia::refuse(reader, -ENOENT);
        read(entry->second);
        return 0;
    });
}

}  // namespace

int br_port_vsa_circuit_id_mode_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                    std::uint32_t *out) {
    return read_port(__func__, bridge, port, [out](const pppoeia_port &found) {
        *out = found.vsa_circuit_id_mode;
        return 0;
    });
}

int br_port_pvc_get(const pppoeia_bridge &bridge, std::uint32_t port, std::uint32_t *vpi,
                    std::uint32_t *vci) {
    if (!vpi || !vci) return 1;
    return read_port(__func__, bridge, port, [vpi, vci](const pppoeia_port &found) {
        if (std::strcmp(found.intf_type, "atm") != 0) return 1;
        *vpi = found.vpi;
        *vci = found.vci;
        return 0;
    });
}

int br_port_remote_id_get(const pppoeia_bridge &bridge, std::uint32_t port, char *out) {
    ia::trace_call(__func__, bridge.name, port);
    const int result = read_port(__func__, bridge, port, [out](const pppoeia_port &found) {
        std::memcpy(out, found.remote_id, sizeof found.remote_id);
        return 0;
    });
    return ia::trace_result(__func__, result);
}

int br_port_parent_get(const pppoeia_bridge &bridge, std::uint32_t port, std::uint32_t *out) {
    if (!out) return 1;
    return read_port(__func__, bridge, port, [out](const pppoeia_port &found) {
        *out = found.parent_id;
        return 0;
    });
}

int br_circuit_id_mode_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                     std::uint16_t vid, std::uint32_t *out) {
    return read_entry(__func__, bridge, port, vid,
                      [out](const pppoeia_port_vlan &entry) { *out = entry.cid_mode; });
}

int br_circuit_id_format_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                       std::uint16_t vid, char *out) {
    return read_entry(__func__, bridge, port, vid, [out](const pppoeia_port_vlan &entry) {
        std::memcpy(out, entry.cid_format, sizeof entry.cid_format);
    });
}

int br_remote_id_format_port_vlan_get(const pppoeia_bridge &bridge, std::uint32_t port,
                                      std::uint16_t vid, char *out) {
    return read_entry(__func__, bridge, port, vid, [out](const pppoeia_port_vlan &entry) {
        std::memcpy(out, entry.rid_format, sizeof entry.rid_format);
    });
}
