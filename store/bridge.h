// The bridge record: configuration and counters of one PPPoE IA bridge. Both
// processes keep the same record under the same lock. Three members are opaque here
// and belong to one layer each: the engine's runtime and its memory of the lines (fe/),
// and the memory of the ID generation (idgen/).
#pragma once

#include "platform/frame_outcomes.h"
#include "pppoeia/records.h"
#include "store/fair_mutex.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ia {

struct BridgeRuntime;  // fe/bridge_runtime.h
struct IdMemory;       // idgen/id_memory.h
struct LineBook;       // fe/lines.h

// Owns a record that only the layer which creates it can see into.
template <class Record>
using Owned = std::unique_ptr<Record, void (*)(Record *)>;

template <class Record, class... Args>
Owned<Record> make_owned(Args &&...args) {
    return {new Record(std::forward<Args>(args)...), [](Record *record) { delete record; }};
}

// Fields of the frame being processed that the ID generation needs. The VLAN fields
// are complete, with the priority bits. The customer VLAN is optional: an operator
// may ask for the IDs of a line without naming one.
struct FrameValues {
    std::uint16_t vlan;
    std::optional<std::uint16_t> cvlan;
    pppoeia_mac client;
};

}  // namespace ia

// The settings of one VLAN on one port. An entry without mode and formats only
// records the membership.
struct pppoeia_port_vlan {
    std::uint32_t cid_mode = PPPOEIA_CID_NOT_SET;
    char cid_format[PPPOEIA_FORMAT_SIZE] = "";
    char rid_format[PPPOEIA_FORMAT_SIZE] = "";
};

struct pppoeia_vlan {
    char name[PPPOEIA_VLAN_NAME_SIZE] = "";
};

// Entries by VLAN id, ascending.
using pppoeia_port_vlan_list = std::map<std::uint16_t, pppoeia_port_vlan>;
using pppoeia_vlan_list = std::map<std::uint16_t, pppoeia_vlan>;

using VlanSet = std::bitset<4096>;

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
    VlanSet vlan_member = VlanSet{}.set();  // member of every VLAN by default
    pppoeia_stats stats{};
    std::array<std::uint32_t, OUTCOME_COUNT> outcomes{};  // the engine's
    std::uint32_t vsa_circuit_id_mode = PPPOEIA_CID_DEFAULT;
    std::uint32_t vpi = 0;
    std::uint32_t vci = 0;
    std::uint32_t parent_id = 0;
    std::uint32_t intf_kind = 0;
    pppoeia_port_vlan_list port_vlans;

    bool present() const { return dev_name[0] != '\0'; }

    // Ethernet uplinks and link aggregation groups (kinds 1 and 5).
    bool faces_network() const { return (intf_kind & ~4U) == 1; }
};

// Interface kinds that the engine treats differently.
enum pppoeia_intf_kind : std::uint32_t {
    INTF_KIND_ATM_PVC = 3,
    INTF_KIND_MANAGEMENT = 4,
    INTF_KIND_ONU = 7,
    INTF_KIND_GEM = 8,
};

// `lock` guards every field. The worker holds it from the first frame of a batch
// until the batch is sent.
struct pppoeia_bridge {
    pppoeia_bridge(std::string_view bridge_name, std::uint32_t num_ports);

    ia::FairMutex lock;

    // Incremented whenever a thread other than the worker takes the lock: data
    // derived from the configuration at another revision may be out of date. 0
    // before the first time.
    std::uint64_t revision = 0;

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
    VlanSet vlan_enabled;
    char cid_format[PPPOEIA_FORMAT_SIZE] = "";
    char rid_format[PPPOEIA_FORMAT_SIZE] = "";
    pppoeia_vlan_list vlans;
    std::uint32_t port_limit;  // ids 1 to port_limit - 1 can be used
    std::vector<pppoeia_port> ports;

    pppoeia_stats stats{};

    // properties of the kernel's bridge; only the engine reads them from the kernel
    std::uint32_t mtu = 1500;  // of the pseudo device, bytes
    std::uint16_t stag_ethertype_nf = 0;

    // The frame being processed, or the last one that was marked; null in a process
    // that processes no frames.
    std::optional<ia::FrameValues> frame;

    ia::Owned<ia::IdMemory> ids{nullptr, nullptr};           // made when first needed
    ia::Owned<ia::LineBook> lines{nullptr, nullptr};         // the engine's only
    ia::Owned<ia::BridgeRuntime> runtime{nullptr, nullptr};  // the engine's only; destroyed first

    // The port's slot, or null when the id is out of range or the port absent.
    pppoeia_port *port(std::uint32_t id);
    const pppoeia_port *port(std::uint32_t id) const;
};
