// Operations of the forwarding engine (FE).
//
// All of them run on the FE's request thread, one at a time. They take a
// bridge by name and return 0 or a negative errno value: -2 unknown bridge,
// -6 not initialised, -19 invalid or absent port, -22 invalid value, -28 text
// too long. A port index is 1-based and below the bridge's number of slots.
#pragma once

#include "pppoeia/records.h"

#pragma GCC visibility push(default)

// Checks the kernel modules' interface versions and starts with no bridge.
// Called on a running engine it warns and releases the bridges there are.
// Returns 0, the positive errno when kvmng cannot be reached, -1 when kvbridge
// cannot, or -12.
int fe_pppoeia_init();

// Deletes every bridge. Returns 0, or -2 when not initialised.
int fe_pppoeia_fini();

// Creates the bridge with its pseudo device, socket and worker thread. `ports`
// is the number of port slots; the ids 1 to ports - 1 can be used. Returns 0,
// -1, -6, -12, -19 (it exists), -22 (name over 10 characters), -24, or a
// positive thread library error.
int fe_pppoeia_bridge_add(const char *bridge, std::uint32_t ports);

// Stops the worker (within about 10 ms) and releases all the bridge owns.
int fe_pppoeia_bridge_del(const char *bridge);

int fe_pppoeia_bridge_stats_get(const char *bridge, pppoeia_stats *out);
int fe_pppoeia_bridge_stats_reset(const char *bridge);
int fe_pppoeia_port_stats_get(const char *bridge, std::uint32_t port, pppoeia_stats *out);
int fe_pppoeia_port_stats_reset(const char *bridge, std::uint32_t port);

// System information for subscriber IDs; texts of at most 64 characters, the
// getters' buffers hold 65 bytes.
int fe_pppoeia_bridge_contact_set(const char *bridge, const char *contact);
int fe_pppoeia_bridge_contact_get(const char *bridge, char *out);
int fe_pppoeia_bridge_location_set(const char *bridge, const char *location);
int fe_pppoeia_bridge_location_get(const char *bridge, char *out);
int fe_pppoeia_bridge_sysname_set(const char *bridge, const char *sysname);
int fe_pppoeia_bridge_sysname_get(const char *bridge, char *out);
int fe_pppoeia_bridge_intf_descr_set(const char *bridge, std::uint32_t port, const char *descr);
int fe_pppoeia_bridge_intf_descr_get(const char *bridge, std::uint32_t port, char *out);

// The subscriber equipment's serial number (at most 12 characters, buffer of
// 13) and MAC address. The MAC is read through the unsigned char overload,
// which answers -22 for a null buffer.
int fe_pppoeia_bridge_cpe_serial_set(const char *bridge, std::uint32_t port, const char *serial);
int fe_pppoeia_bridge_cpe_serial_get(const char *bridge, std::uint32_t port, char *out);
int fe_pppoeia_bridge_cpe_mac_set(const char *bridge, std::uint32_t port, pppoeia_mac mac);
int fe_pppoeia_bridge_cpe_serial_get(const char *bridge, std::uint32_t port, unsigned char *out);

// The IDs that a subscriber on this port and VLAN gets now (vid 0xFFF: no
// VLAN). `out` holds 64 bytes; it stays as it was when the line has no ID.
int fe_gen_circuit_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid,
                                   char *out);
int fe_gen_remote_id_by_intf_vlan(const char *bridge, unsigned port, unsigned short vid, char *out);

// A configuration event of the management process: nothing to do, always 0.
int fe_ppppoeia_conf_event(std::uint32_t event);

// --- diagnostics -----------------------------------------------------------
// Each writes a report to the terminal device at `tty` (nowhere when empty) and
// returns 0, or 1 without a word when there is no such bridge.

// Formats, port-VLAN entries, subscriber equipment and VLANs of the bridge;
// those of one port, or of all for port 0.
int fe_pppoeia_dump(const char *bridge, std::uint32_t port, const char *tty);

// The made-up subscriber that custom ID formats are tried with. The bridge does
// not matter: always 0.
int fe_pppoeia_test_dump(const char *bridge, const char *tty);

// Changes one value of it. Keys: "pppoeiaTestSet" and one of Vlan, Cvid,
// IntfId, Onu, Vgem, TContType (a decimal number; what is none counts as 0),
// CustomCidStr, CustomRidStr (a format) and ClntMac ("11:22:33:44:55:66", any
// separators; anything else is reported and not stored).
int fe_pppoeia_test_set(const char *bridge, const char *key, const char *value, const char *tty);

// Generates the ID that the made-up subscriber gets on this bridge. Commands
// "pppoeiaTestRunCid" and "pppoeiaTestRunRid", modes "test" and "available" (as
// the ID queries do it). 1 for any other mode.
int fe_pppoeia_test_run(const char *bridge, const char *command, const char *mode, const char *tty);

// Switches the step-by-step output of the ID generation.
int fe_pppoeia_test_debug(const char *bridge, std::uint32_t on, const char *tty);

#pragma GCC visibility pop
