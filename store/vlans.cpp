// The bridge's named VLANs and, per port, the entries that set Circuit-ID mode and
// formats for one VLAN. Both are lists sorted by VLAN id.
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "pppoeia/store.h"
#include "store/accessors.h"
#include "store/operation.h"

#include <cstring>
#include <new>

using namespace ia;

namespace {

// The list's entry for vid, added when missing; null without memory, and the list
// is unchanged.
template <class List>
typename List::mapped_type *link_entry(const char *operation, List &list, std::uint16_t vid) {
    try {
        return &list.try_emplace(vid).first->second;
    } catch (const std::bad_alloc &) {
        refuse(operation, -ENOMEM);
        return nullptr;
    }
}

template <class List>
typename List::mapped_type *find_entry(List &list, std::uint16_t vid) {
    const auto entry = list.find(vid);
    return entry == list.end() ? nullptr : &entry->second;
}

pppoeia_port_vlan *link_port_vlan(pppoeia_port &port, std::uint16_t vid) {
    pppoeia_port_vlan *entry = link_entry("br_port_vlan_add", port.port_vlans, vid);
    if (!entry) pppoeia_log(7, "br_port_vlan_add failed");
    return entry;
}

bool is_bare(const pppoeia_port_vlan &entry) {
    return entry.cid_mode == PPPOEIA_CID_NOT_SET && !entry.cid_format[0] && !entry.rid_format[0];
}

using Format = char[PPPOEIA_FORMAT_SIZE];
constexpr std::size_t port_vlan_format_max = PPPOEIA_FORMAT_SIZE - 2;  // one less than the bridge's

// One of the two formats of a port-VLAN entry: which field, and its log line.
struct FormatField {
    Format pppoeia_port_vlan::*field;
    const char *set_message;
};

constexpr FormatField cid_format{&pppoeia_port_vlan::cid_format,
                                 "<%s> Port %d vlan %d custom cid format set to '%s'."};
constexpr FormatField rid_format{&pppoeia_port_vlan::rid_format,
                                 "<%s> Port %d vlan %d custom rid format set to '%s'."};

// Clearing the last setting of an entry removes it. Clearing a setting of a missing
// entry succeeds.
int set_format(const char *operation, const char *bridge, std::uint32_t port, std::uint16_t vid,
               const FormatField &which, const char *format) {
    return on_port(operation, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        const std::string_view text = format;
        if (text.size() > port_vlan_format_max) return refuse(operation, -ENOSPC);
        pppoeia_port_vlan *entry =
            text.empty() ? find_entry(p.port_vlans, vid) : link_port_vlan(p, vid);
        if (!entry && !text.empty()) return -ENOENT;
        if (entry) {
            copy_text(entry->*which.field, text);
            if (is_bare(*entry)) p.port_vlans.erase(vid);
        }
        pppoeia_log(7, which.set_message, b.name, port, vid, format);
        return 0;
    });
}

// Empties the format of an existing entry and keeps the entry, even without any
// setting.
int unset_format(const char *operation, const char *bridge, std::uint32_t port, std::uint16_t vid,
                 const FormatField &which) {
    trace_call(operation, bridge, port, vid);
    return on_port(operation, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        pppoeia_port_vlan *entry = find_entry(p.port_vlans, vid);
        if (!entry) return refuse(operation, -ENOENT);
        copy_text(entry->*which.field, "");
        pppoeia_log(7, which.set_message, b.name, port, vid, "");
        return 0;
    });
}

void describe(std::uint16_t vid, const pppoeia_port_vlan &entry, pppoeia_port_vlan_info &out) {
    out.vlan_id = vid;
    out.cid_mode = entry.cid_mode;
    copy_text(out.cid_format, entry.cid_format);
    copy_text(out.rid_format, entry.rid_format);
}

}  // namespace

// --- port-VLAN entries ---------------------------------------------------------

int cache_pppoeia_port_vlan_add(const char *bridge, std::uint32_t port, std::uint16_t vid) {
    constexpr const char *step = "br_port_vlan_add";
    trace_call(__func__, bridge, port, vid);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        pppoeia_port *p = b.port(port);
        if (!p) return refuse_port(step, port);
        return link_entry(step, p->port_vlans, vid) ? 0 : -ENOMEM;
    });
}

int cache_pppoeia_port_vlan_del(const char *bridge, std::uint32_t port, std::uint16_t vid) {
    trace_call(__func__, bridge, port, vid);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        pppoeia_port *p = b.port(port);
        if (!p) return refuse_port("br_port_vlan_del", port);
        p->port_vlans.erase(vid);
        return 0;
    });
}

int cache_pppoeia_circuit_id_mode_port_vlan_set(const char *bridge, std::uint32_t port,
                                                std::uint16_t vid, std::uint32_t mode) {
    trace_call(__func__, bridge, port, vid, mode);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &b, pppoeia_port &p) {
        const bool unset = mode == PPPOEIA_CID_NOT_SET;
        pppoeia_port_vlan *entry = find_entry(p.port_vlans, vid);
        if (!entry && unset) return 0;
        if (!entry && !(entry = link_port_vlan(p, vid))) return -ENOENT;
        entry->cid_mode = mode;
        std::uint32_t stored = mode;
        if (is_bare(*entry))
            p.port_vlans.erase(vid);
        else if (unset)
            stored = entry->cid_mode = PPPOEIA_CID_DEFAULT;
        pppoeia_log(7, "<%s> Port %d vlan %d cid mode set to %d.", b.name, port, vid, stored);
        return 0;
    });
}

int cache_pppoeia_circuit_id_mode_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                    std::uint16_t vid) {
    trace_call(__func__, bridge, port, vid);
    return on_port(__func__, bridge, port,
                   [&, operation = __func__](pppoeia_bridge &b, pppoeia_port &p) {
                       pppoeia_port_vlan *entry = find_entry(p.port_vlans, vid);
                       if (!entry) return refuse(operation, -ENOENT);
                       entry->cid_mode = PPPOEIA_CID_DEFAULT;
                       pppoeia_log(7, "<%s> Port %d vlan %d cid mode set to %d.", b.name, port, vid,
                                   entry->cid_mode);
                       return 0;
                   });
}

int cache_pppoeia_circuit_id_mode_port_vlan_get(const char *bridge, std::uint32_t port,
                                                std::uint16_t vid, std::uint32_t *out) {
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        return br_circuit_id_mode_port_vlan_get(b, port, vid, out);
    });
}

int cache_pppoeia_circuit_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                                  std::uint16_t vid, const char *format) {
    trace_call(__func__, bridge, port, vid, format);
    return set_format(__func__, bridge, port, vid, cid_format, format);
}

int cache_pppoeia_circuit_id_format_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                      std::uint16_t vid) {
    return unset_format(__func__, bridge, port, vid, cid_format);
}

int cache_pppoeia_circuit_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                                  std::uint16_t vid, char *out) {
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        return br_circuit_id_format_port_vlan_get(b, port, vid, out);
    });
}

int cache_pppoeia_remote_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                                 std::uint16_t vid, const char *format) {
    trace_call(__func__, bridge);
    return set_format(__func__, bridge, port, vid, rid_format, format);
}

int cache_pppoeia_remote_id_format_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                     std::uint16_t vid) {
    return unset_format(__func__, bridge, port, vid, rid_format);
}

int cache_pppoeia_remote_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                                 std::uint16_t vid, char *out) {
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        return br_remote_id_format_port_vlan_get(b, port, vid, out);
    });
}

int cache_pppoeia_port_vlan_get_first(const char *bridge, std::uint32_t port,
                                      pppoeia_port_vlan_info *out) {
    if (!out) return -ENXIO;
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        if (p.port_vlans.empty()) return -ENOENT;
        const auto &[vid, entry] = *p.port_vlans.begin();
        describe(vid, entry, *out);
        return 0;
    });
}

int cache_pppoeia_port_vlan_get_next(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     pppoeia_port_vlan_info *out) {
    if (!out) return -ENXIO;
    trace_call(__func__, bridge, port, vid);
    return on_port(__func__, bridge, port,
                   [&, operation = __func__](pppoeia_bridge &, pppoeia_port &p) {
                       const auto entry = p.port_vlans.find(vid);
                       if (entry == p.port_vlans.end()) return refuse(operation, -ENOENT);
                       const auto next = std::next(entry);
                       if (next == p.port_vlans.end()) return -ENOENT;  // the end of the walk
                       describe(next->first, next->second, *out);
                       return 0;
                   });
}

int cache_pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     pppoeia_port_vlan_info *out) {
    if (!out) return -ENXIO;
    trace_call(__func__, bridge, port, vid);
    return on_port(__func__, bridge, port,
                   [&, operation = __func__](pppoeia_bridge &, pppoeia_port &p) {
                       const pppoeia_port_vlan *entry = find_entry(p.port_vlans, vid);
                       if (!entry) return refuse(operation, -ENOENT);
                       describe(vid, *entry, *out);
                       return 0;
                   });
}

int cache_clear_port_vlan(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        p.port_vlans.clear();
        return 0;
    });
}

int cache_clear_port_vlan_all(const char *bridge) {
    trace_call(__func__, bridge);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        constexpr const char *step = "cache_clear_port_vlan";
        for (pppoeia_port &p : b.ports) {
            if (!p.present()) continue;
            trace_call(step, bridge, p.port_id);
            p.port_vlans.clear();
            trace_result(step, 0);
        }
        return 0;
    });
}

// --- VLAN names ------------------------------------------------------------------

int cache_pppoeia_vlan_add(const char *bridge, std::uint16_t vid) {
    const char *operation = __func__;
    const LockedBridge found(bridge);
    if (!found) return refuse(operation, -ENOENT);
    return link_entry(operation, found->vlans, vid) ? 0 : -ENOMEM;
}

int cache_pppoeia_vlan_del(const char *bridge, std::uint16_t vid) {
    const LockedBridge found(bridge);
    if (!found) return refuse(__func__, -ENOENT);
    found->vlans.erase(vid);
    return 0;
}

int cache_pppoeia_vlan_name_set(const char *bridge, std::uint16_t vid, const char *name) {
    const LockedBridge found(bridge);
    if (!found) return refuse(__func__, -ENOENT);
    if (std::strlen(name) >= PPPOEIA_VLAN_NAME_SIZE) return refuse(__func__, -ENOSPC);
    pppoeia_vlan *vlan = find_entry(found->vlans, vid);
    if (!vlan) return refuse_port(__func__, vid);
    copy_text(vlan->name, name);
    pppoeia_log(7, "<%s> VLAN %d name set to '%s'.", bridge, vid, name);
    return 0;
}

int cache_clear_vlan(const char *bridge) {
    trace_call(__func__, bridge);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        b.vlans.clear();
        return 0;
    });
}
