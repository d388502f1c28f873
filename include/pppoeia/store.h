// Operations of the configuration store, run in both processes.
//
// Each takes the bridge name first, holds that bridge's lock for its whole
// check-and-write, and returns 0 or a negative errno value: -2 unknown bridge,
// -19 invalid or absent port, -22 invalid value, -28 text too long. Any thread
// may call them. String getters copy the whole field: the caller's buffer has
// the field's size (pppoeia/records.h).
#pragma once

#include "pppoeia/records.h"

#pragma GCC visibility push(default)

// --- process-wide settings -------------------------------------------------
int cache_pppoeia_log_level_set(std::int32_t level);  // -2 stores 3; -1 is silence
int cache_pppoeia_log_level_get(std::int32_t *out);
int cache_pppoeia_debug_admin_state_set(std::uint32_t state);
int cache_pppoeia_debug_admin_state_get(std::uint32_t *out);
int cache_pppoeia_bridge_debug_set(const char *bridge, std::uint32_t on);
int cache_pppoeia_bridge_debug_get(const char *bridge, std::uint32_t *out);

// --- bridge-wide settings --------------------------------------------------
int cache_pppoeia_bridge_max_pdu_set(const char *bridge, std::uint32_t pdu);  // -22 above the MTU
int cache_pppoeia_bridge_max_pdu_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_state_set(const char *bridge, std::uint32_t state);
int cache_pppoeia_bridge_state_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_vlan_set(const char *bridge, std::uint16_t vid, std::uint32_t enable);
int cache_pppoeia_bridge_vlan_set_all(const char *bridge, std::uint32_t enable);
int cache_pppoeia_bridge_vlan_get(const char *bridge, std::uint16_t vid, std::uint32_t *out);
int cache_pppoeia_bridge_vendor_set(const char *bridge, const char *vendor);  // -12 if too long
int cache_pppoeia_bridge_vendor_get(const char *bridge, char *out);
int cache_pppoeia_bridge_vsa_mode_set(const char *bridge, std::uint32_t mode);
int cache_pppoeia_bridge_vsa_mode_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_vsa_insert_circuit_id_set(const char *bridge, std::uint32_t insert);
int cache_pppoeia_bridge_vsa_insert_circuit_id_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_vsa_insert_remote_id_set(const char *bridge, std::uint32_t insert);
int cache_pppoeia_bridge_vsa_insert_remote_id_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_shelf_id_set(const char *bridge, const char *shelf);
int cache_pppoeia_bridge_shelf_id_get(const char *bridge, char *out);
int cache_pppoeia_bridge_chassis_id_set(const char *bridge, std::uint32_t chassis);
int cache_pppoeia_bridge_chassis_id_get(const char *bridge, std::uint32_t *out);
int cache_pppoeia_bridge_vsa_circuit_id_cvlan_set(const char *bridge, std::uint32_t flag);
int cache_pppoeia_bridge_vsa_circuit_id_cvlan_get(const char *bridge, std::uint32_t *out);

// --- ports -----------------------------------------------------------------
// Adding a port that is there changes nothing and succeeds. -22 for id 0, -28
// for an id past the port table.
int cache_pppoeia_port_add(const char *bridge, std::uint32_t port, const char *dev_name,
                           const char *port_name, const pppoeia_port_info *info);
int cache_pppoeia_port_del(const char *bridge, std::uint32_t port);
int cache_pppoeia_port_state_set(const char *bridge, std::uint32_t port, std::int32_t state);
int cache_pppoeia_port_state_set_all(const char *bridge, std::uint32_t state);
int cache_pppoeia_port_state_get(const char *bridge, std::uint32_t port, std::uint32_t *out);
int cache_pppoeia_port_trust_set(const char *bridge, std::uint32_t port, std::uint32_t trust);
int cache_pppoeia_port_trust_set_all(const char *bridge, std::uint32_t trust);
int cache_pppoeia_port_trust_get(const char *bridge, std::uint32_t port, std::uint32_t *out);
int cache_pppoeia_port_remote_id_set(const char *bridge, std::uint32_t port, const char *remote_id);
int cache_pppoeia_port_remote_id_get(const char *bridge, std::uint32_t port, char *out);
int cache_pppoeia_port_vsa_circuit_id_mode_set(const char *bridge, std::uint32_t port,
                                               std::uint32_t mode);
int cache_pppoeia_port_vsa_circuit_id_mode_get(const char *bridge, std::uint32_t port,
                                               std::uint32_t *out);
// 1 when the port is not an ATM port (type word "atm"): nothing was done.
int cache_pppoeia_port_pvc_set(const char *bridge, std::uint32_t port, std::uint32_t vpi,
                               std::uint32_t vci);
int cache_pppoeia_port_pvc_get(const char *bridge, std::uint32_t port, std::uint32_t *vpi,
                               std::uint32_t *vci);
int cache_pppoeia_port_parent_set(const char *bridge, std::uint32_t port, std::uint32_t parent);
int cache_pppoeia_port_parent_get(const char *bridge, std::uint32_t port, std::uint32_t *out);
int cache_pppoeia_port_name_update(const char *bridge, std::uint32_t port, const char *port_name,
                                   const pppoeia_port_location *location);
// The port's membership in a VLAN (low 12 bits of vid); -1 when the bridge has
// not enabled that VLAN.
int cache_pppoeia_port_vlan_info_set(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     int member);
int cache_pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     int *out);

// --- formats for subscriber IDs: at most 128 characters, empty for none ------
int cache_pppoeia_circuit_id_format_set(const char *bridge, const char *format);
int cache_pppoeia_circuit_id_format_get(const char *bridge, char *out);
int cache_pppoeia_remote_id_format_set(const char *bridge, const char *format);
int cache_pppoeia_remote_id_format_get(const char *bridge, char *out);

// --- port-VLAN entries: Circuit-ID mode and formats of one port and VLAN ------
// Formats of at most 127 characters. A setter makes the entry it needs and
// removes one that it leaves without any setting; the _def_set variants only
// change an entry that is there (-2 otherwise). -12 or -2 without memory.
int cache_pppoeia_port_vlan_add(const char *bridge, std::uint32_t port, std::uint16_t vid);
int cache_pppoeia_port_vlan_del(const char *bridge, std::uint32_t port, std::uint16_t vid);
int cache_pppoeia_circuit_id_mode_port_vlan_set(const char *bridge, std::uint32_t port,
                                                std::uint16_t vid, std::uint32_t mode);
int cache_pppoeia_circuit_id_mode_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                    std::uint16_t vid);
int cache_pppoeia_circuit_id_mode_port_vlan_get(const char *bridge, std::uint32_t port,
                                                std::uint16_t vid, std::uint32_t *out);
int cache_pppoeia_circuit_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                                  std::uint16_t vid, const char *format);
int cache_pppoeia_circuit_id_format_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                      std::uint16_t vid);
int cache_pppoeia_circuit_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                                  std::uint16_t vid, char *out);
int cache_pppoeia_remote_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                                 std::uint16_t vid, const char *format);
int cache_pppoeia_remote_id_format_port_vlan_def_set(const char *bridge, std::uint32_t port,
                                                     std::uint16_t vid);
int cache_pppoeia_remote_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                                 std::uint16_t vid, char *out);

// Walk a port's entries by ascending VLAN id: first, then next with the id
// received last, until -2. -6 for a null block.
int cache_pppoeia_port_vlan_get_first(const char *bridge, std::uint32_t port,
                                      pppoeia_port_vlan_info *out);
int cache_pppoeia_port_vlan_get_next(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     pppoeia_port_vlan_info *out);
int cache_pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                     pppoeia_port_vlan_info *out);
int cache_clear_port_vlan(const char *bridge, std::uint32_t port);
int cache_clear_port_vlan_all(const char *bridge);

// --- named VLANs; names of at most 31 characters -------------------------------
int cache_pppoeia_vlan_add(const char *bridge, std::uint16_t vid);
int cache_pppoeia_vlan_del(const char *bridge, std::uint16_t vid);
int cache_pppoeia_vlan_name_set(const char *bridge, std::uint16_t vid, const char *name);
int cache_clear_vlan(const char *bridge);

// --- life cycle ----------------------------------------------------------------
// Starts the management process's store, empty; bridges of an earlier one are
// released. Not while other operations run.
int pppoeia_cache_init();

// The mirror of the engine's bridges. -6 without a store, -19 when the bridge
// exists, -22 for a name over 10 characters, -12 without memory.
int pppoeia_cache_on_bridge_add(const char *bridge, std::uint32_t ports);
int pppoeia_cache_on_bridge_del(const char *bridge);

// Factory settings of the bridge and its ports, step by step; the first step
// that fails ends it with its result.
int cache_pppoeia_apply_default_settings(const char *bridge);

// The port's Circuit ID without a VLAN; `out` holds 64 bytes.
int cache_pppoeia_port_circuit_id_get(const char *bridge, unsigned port, char *out);

#pragma GCC visibility pop
