// The bridge record: configuration, runtime and counters of one PPPoE IA
// bridge. Both processes keep the same record; in the management process the
// runtime stays idle (socket -1, MTU 1500, no frame buffer).
#pragma once

#include "pppoeia/records.h"

#include <atomic>
#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace ia {

// What the ID generation has made of a format; its own, and never of interest to
// anybody else. Under the bridge's lock like the format.
struct format_plan;
struct line_plan;
using plan_slot = std::shared_ptr<const format_plan>;
using line_slot = std::shared_ptr<line_plan>;

class Batch;  // the worker's frames in hand (fe/batch.h)

}  // namespace ia

// What is set for one VLAN of one port. An entry without mode and formats is a
// bare membership.
struct pppoeia_port_vlan {
    std::uint32_t cid_mode = PPPOEIA_CID_NOT_SET;
    char cid_format[PPPOEIA_FORMAT_SIZE] = "";
    char rid_format[PPPOEIA_FORMAT_SIZE] = "";
    mutable ia::plan_slot cid_plan{};
    mutable ia::plan_slot rid_plan{};
};

struct pppoeia_vlan {
    char name[PPPOEIA_VLAN_NAME_SIZE] = "";
};

// Entries by VLAN id, ascending.
using pppoeia_port_vlan_list = std::map<std::uint16_t, pppoeia_port_vlan>;
using pppoeia_vlan_list = std::map<std::uint16_t, pppoeia_vlan>;

using vlan_set = std::bitset<4096>;

// A slot of the port table: port id p lives in slot p - 1. In use while
// dev_name is not empty.
struct pppoeia_port {
    std::uint32_t port_id = 0;  // 0: never used; a deleted port keeps its id
    char dev_name[17] = "";
    char port_name[PPPOEIA_PORT_NAME_SIZE] = "";
    char intf_descr[PPPOEIA_SYSTEM_TEXT_SIZE] = "";
    char cpe_serial[PPPOEIA_CPE_SERIAL_SIZE] = "";
    pppoeia_mac cpe_mac{};
    pppoeia_port_location location{};
    char intf_type[10] = "";
    std::uint32_t state = PPPOEIA_PORT_DISABLED;
    std::uint32_t trust = PPPOEIA_PORT_TRUSTED;
    char remote_id[PPPOEIA_REMOTE_ID_SIZE] = "";
    vlan_set vlan_member = vlan_set{}.set();  // every VLAN until told otherwise
    pppoeia_stats stats{};
    std::uint32_t vsa_circuit_id_mode = PPPOEIA_CID_DEFAULT;
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    std::uint32_t parent_id = 0;
    std::uint32_t intf_kind = 0;
    pppoeia_port_vlan_list port_vlans;
    mutable ia::line_slot cid_line;
    mutable ia::line_slot rid_line;

    bool present() const { return dev_name[0] != '\0'; }

    // Ethernet uplinks and link aggregation groups (kinds 1 and 5).
    bool faces_network() const { return (intf_kind & ~4U) == 1; }
};

// Interface kinds that the engine tells apart.
enum pppoeia_intf_kind : std::uint32_t {
    INTF_KIND_ATM_PVC = 3,
    INTF_KIND_MANAGEMENT = 4,
    INTF_KIND_ONU = 7,
    INTF_KIND_GEM = 8,
};

// `lock` guards every field but the runtime's `stop`. The worker holds it for
// the whole of each frame.
struct pppoeia_bridge {
    pppoeia_bridge(std::string_view bridge_name, std::uint32_t num_ports);

    std::mutex lock;

    // How often anybody but the worker had the lock: what was made of the
    // configuration before the last time may be out of date.
    std::uint64_t visits = 0;
    mutable std::uint64_t management_sought = 0;  // at this visit; 0: never
    mutable const pppoeia_port *management = nullptr;

    // configuration
    char name[17] = "";
    char pseudo_dev[17] = "";  // "<name>_pppoe", at most 15 characters
    std::uint32_t disabled = 0;
    std::uint32_t max_pdu = 1500;  // largest Ethernet frame, bytes; at most mtu
    std::uint32_t board_pos = 0;
    char vendor[PPPOEIA_VENDOR_SIZE] = "KORVALEN";
    char shelf_id[PPPOEIA_SHELF_ID_SIZE] = "";
    std::uint32_t chassis_id = 0;
    char contact[PPPOEIA_SYSTEM_TEXT_SIZE] = "";
    char location[PPPOEIA_SYSTEM_TEXT_SIZE] = "";
    char sysname[PPPOEIA_SYSTEM_TEXT_SIZE] = "";
    std::uint32_t vsa_mode = PPPOEIA_VSA_REMOVE;
    std::uint32_t vsa_insert_circuit_id = 1;
    std::uint32_t vsa_insert_remote_id = 1;
    std::uint32_t vsa_circuit_id_cvlan = 0;
    vlan_set vlan_enabled;
    char cid_format[PPPOEIA_FORMAT_SIZE] = "";
    char rid_format[PPPOEIA_FORMAT_SIZE] = "";
    mutable ia::plan_slot cid_plan;
    mutable ia::plan_slot rid_plan;
    pppoeia_vlan_list vlans;
    std::uint32_t port_limit;  // ids 1 to port_limit - 1 can be used
    std::vector<pppoeia_port> ports;

    pppoeia_stats stats{};

    // runtime, the engine's only
    std::uint32_t mtu = 1500;  // of the pseudo device, bytes
    std::uint16_t stag_ethertype_nf = 0;
    int sock = -1;
    int bridge_fd = -1;
    std::vector<std::uint8_t> frame_buf;  // the datagram being processed, and slack of zeros
    std::uint32_t buf_size = 0;           // largest datagram received, bytes
    std::size_t frame_end = 0;            // offset one past the datagram's last byte
    std::shared_ptr<ia::Batch> batch;     // the worker's
    std::uint32_t cur_port = 0;           // zero-based slot of the frame's input port
    std::atomic<bool> stop{false};
    std::thread worker;

    // The port's slot, or null when the id is out of range or the port absent.
    pppoeia_port *port(std::uint32_t id);
    const pppoeia_port *port(std::uint32_t id) const;
};
