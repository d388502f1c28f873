// Client API: how a second process configures and queries the engine.
//
// Each change goes to the engine's process and, when the engine has made it, is
// repeated in this process's own store. Reads are answered from that store.
// A function returns
//   0   success
//   2   an argument is null (reported on standard output); nothing was sent
//   4   the engine could not be reached, or did not answer within 5 seconds
//   or  the engine's own result: a negative errno value as in pppoeia/fe.h and
//       pppoeia/store.h; the store has not changed
//
// Any thread may call, several at once. A caller that changes one setting from
// several threads must order these changes itself. pppoeia/store.h has the limits
// of texts and formats, pppoeia/fe.h those of ports and bridges.
#pragma once

#include "pppoeia/records.h"

// Where the engine is reached.
inline constexpr char PPPOEIA_ENGINE_PATH[] = "/var/run/pppoeia_fe_main";

// The client's own results; all others are the engine's.
namespace ia {
inline constexpr int client_ok = 0;
inline constexpr int client_null_argument = 2;
inline constexpr int client_no_answer = 4;
}  // namespace ia

#pragma GCC visibility push(default)

// --- start and end ------------------------------------------------------------
// Starts the engine and then this process's store, both without bridges.
// pppoeia_fini ends the engine's part and leaves the store.
int pppoeia_init();
int pppoeia_fini();

// --- settings of both processes -------------------------------------------------
// A log level of -1 is silence, of -2 stands for 3. Debug (of whichever bridge)
// is level 7, no debug is silence.
int pppoeia_log_level_set(std::int32_t level);
int pppoeia_log_level_get(std::int32_t *out);
int pppoeia_debug_admin_state_set(std::uint32_t state);
int pppoeia_debug_admin_state_get(std::uint32_t *out);
int pppoeia_bridge_debug_set(const char *bridge, std::uint32_t on);
int pppoeia_bridge_debug_get(const char *bridge, std::uint32_t *out);

// Announces a configuration event; the engine needs none of them.
int ppppoeia_conf_event(std::uint32_t event);

// --- bridges --------------------------------------------------------------------
// `ports` is the number of port slots; the ids 1 to ports - 1 can be used.
int pppoeia_bridge_add(const char *bridge, std::uint32_t ports);
int pppoeia_bridge_del(const char *bridge);

// Factory settings of the bridge and its ports.
int pppoeia_apply_default_settings(const char *bridge);

int pppoeia_bridge_max_pdu_set(const char *bridge, std::uint32_t pdu);
int pppoeia_bridge_max_pdu_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_state_set(const char *bridge, std::uint32_t state);
int pppoeia_bridge_state_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_vlan_set(const char *bridge, std::uint16_t vid, std::uint32_t enable);
int pppoeia_bridge_vlan_set_all(const char *bridge, std::uint32_t enable);
int pppoeia_bridge_vlan_get(const char *bridge, std::uint16_t vid, std::uint32_t *out);
int pppoeia_bridge_vendor_set(const char *bridge, const char *vendor);
int pppoeia_bridge_vendor_get(const char *bridge, char *out);
int pppoeia_bridge_vsa_mode_set(const char *bridge, std::uint32_t mode);
int pppoeia_bridge_vsa_mode_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_vsa_insert_circuit_id_set(const char *bridge, std::uint32_t insert);
int pppoeia_bridge_vsa_insert_circuit_id_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_vsa_insert_remote_id_set(const char *bridge, std::uint32_t insert);
int pppoeia_bridge_vsa_insert_remote_id_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_vsa_circuit_id_cvlan_set(const char *bridge, std::uint32_t flag);
int pppoeia_bridge_vsa_circuit_id_cvlan_get(const char *bridge, std::uint32_t *out);
int pppoeia_bridge_shelf_id_set(const char *bridge, const char *shelf);
int pppoeia_bridge_shelf_id_get(const char *bridge, char *out);
int pppoeia_bridge_chassis_id_set(const char *bridge, std::uint32_t chassis);
int pppoeia_bridge_chassis_id_get(const char *bridge, std::uint32_t *out);
int pppoeia_circuit_id_format_set(const char *bridge, const char *format);
int pppoeia_circuit_id_format_get(const char *bridge, char *out);
int pppoeia_remote_id_format_set(const char *bridge, const char *format);
int pppoeia_remote_id_format_get(const char *bridge, char *out);

// --- ports ----------------------------------------------------------------------
int pppoeia_port_add(const char *bridge, std::uint32_t port, const char *dev_name,
                     const char *port_name, const pppoeia_port_info *info);
int pppoeia_port_del(const char *bridge, std::uint32_t port);
int pppoeia_port_name_update(const char *bridge, std::uint32_t port, const char *port_name,
                             const pppoeia_port_location *location);
int pppoeia_port_state_set(const char *bridge, std::uint32_t port, std::int32_t state);
int pppoeia_port_state_set_all(const char *bridge, std::uint32_t state);
int pppoeia_port_state_get(const char *bridge, std::uint32_t port, std::uint32_t *out);
int pppoeia_port_trust_set(const char *bridge, std::uint32_t port, std::uint32_t trust);
int pppoeia_port_trust_set_all(const char *bridge, std::uint32_t trust);
int pppoeia_port_trust_get(const char *bridge, std::uint32_t port, std::uint32_t *out);
int pppoeia_port_remote_id_set(const char *bridge, std::uint32_t port, const char *remote_id);
int pppoeia_port_remote_id_get(const char *bridge, std::uint32_t port, char *out);
int pppoeia_port_vsa_circuit_id_mode_set(const char *bridge, std::uint32_t port,
                                         std::uint32_t mode);
int pppoeia_port_vsa_circuit_id_mode_get(const char *bridge, std::uint32_t port,
                                         std::uint32_t *out);
int pppoeia_port_parent_set(const char *bridge, std::uint32_t port, std::uint32_t parent);
int pppoeia_port_parent_get(const char *bridge, std::uint32_t port, std::uint32_t *out);

// 1 when the port is not an ATM port: nothing was changed.
int pppoeia_port_pvc_set(const char *bridge, std::uint32_t port, std::uint32_t vpi,
                         std::uint32_t vci);
int pppoeia_port_pvc_get(const char *bridge, std::uint32_t port, std::uint32_t *vpi,
                         std::uint32_t *vci);

// The Circuit ID that this process's store gives without a VLAN; `out` holds 64
// bytes.
int pppoeia_port_circuit_id_get(const char *bridge, unsigned port, char *out);

// --- port-VLAN entries ------------------------------------------------------------
int pppoeia_port_vlan_add(const char *bridge, std::uint32_t port, std::uint16_t vid);
int pppoeia_port_vlan_del(const char *bridge, std::uint32_t port, std::uint16_t vid);
int pppoeia_circuit_id_mode_port_vlan_set(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                          std::uint32_t mode);
int pppoeia_circuit_id_mode_port_vlan_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                                          std::uint32_t *out);
int pppoeia_circuit_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                            std::uint16_t vid, const char *format);
int pppoeia_circuit_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                            std::uint16_t vid, char *out);
int pppoeia_remote_id_format_port_vlan_set(const char *bridge, std::uint32_t port,
                                           std::uint16_t vid, const char *format);
int pppoeia_remote_id_format_port_vlan_get(const char *bridge, std::uint32_t port,
                                           std::uint16_t vid, char *out);
int pppoeia_port_vlan_get_first(const char *bridge, std::uint32_t port,
                                pppoeia_port_vlan_info *out);
int pppoeia_port_vlan_get_next(const char *bridge, std::uint32_t port, std::uint16_t vid,
                               pppoeia_port_vlan_info *out);
int pppoeia_port_vlan_info_get(const char *bridge, std::uint32_t port, std::uint16_t vid,
                               pppoeia_port_vlan_info *out);
int clear_port_vlan(const char *bridge, std::uint32_t port);
int clear_port_vlan_all(const char *bridge);

// --- named VLANs ------------------------------------------------------------------
// The names are the engine's only.
int pppoeia_vlan_add(const char *bridge, std::uint16_t vid);
int pppoeia_vlan_del(const char *bridge, std::uint16_t vid);
int pppoeia_vlan_name_set(const char *bridge, std::uint16_t vid, const char *name);
int clear_vlan(const char *bridge);

// --- what only the engine keeps -----------------------------------------------------
// Counters. A refusal leaves `out` as it was.
int pppoeia_bridge_stats_get(const char *bridge, pppoeia_stats *out);
int pppoeia_bridge_stats_reset(const char *bridge);
int pppoeia_port_stats_get(const char *bridge, std::uint32_t port, pppoeia_stats *out);
int pppoeia_port_stats_reset(const char *bridge, std::uint32_t port);

// System information for subscriber IDs.
int pppoeia_bridge_contact_set(const char *bridge, const char *contact);
int pppoeia_bridge_location_set(const char *bridge, const char *location);
int pppoeia_bridge_sysname_set(const char *bridge, const char *sysname);
int pppoeia_bridge_intf_descr_set(const char *bridge, std::uint32_t port, const char *descr);
int pppoeia_bridge_cpe_serial_set(const char *bridge, std::uint32_t port, const char *serial);
int pppoeia_bridge_cpe_mac_set(const char *bridge, std::uint32_t port, pppoeia_mac mac);

// The IDs that a subscriber on this port and VLAN gets now (vid 0xFFF: no
// VLAN). `out` holds 64 bytes; it is empty when the line has no ID.
int gen_circuit_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid, char *out);
int gen_remote_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid, char *out);

// --- diagnostics ---------------------------------------------------------------------
// Each writes its report to the terminal device `tty` of the engine's machine;
// see pppoeia/fe.h.
int pppoeia_dump(const char *bridge, std::uint32_t port, const char *tty);
int pppoeia_test_dump(const char *bridge, const char *tty);
int pppoeia_test_set(const char *bridge, const char *key, const char *value, const char *tty);
int pppoeia_test_run(const char *bridge, const char *command, const char *mode, const char *tty);
int pppoeia_test_debug(const char *bridge, std::uint32_t on, const char *tty);

#pragma GCC visibility pop
