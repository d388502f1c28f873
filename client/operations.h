// The table of the client API's operations: function id, the client's function, the
// engine's function, and the function that repeats the change in the client's own
// store. Client and engine both use it.
//
// The three have one signature, which also fixes how the parameters travel
// (client/wire.h). Ids are fixed; missing ids are not used.
#pragma once

#include "pppoeia/client.h"
#include "pppoeia/fe.h"
#include "pppoeia/store.h"

#include <cstdint>
#include <type_traits>

namespace ia {

template <std::uint32_t Id, auto Client, auto Engine, auto Mirror = nullptr>
struct Operation {
    static constexpr std::uint32_t id = Id;
    static constexpr auto engine = Engine;
    static constexpr auto mirror = Mirror;
    static constexpr bool mirrored = !std::is_null_pointer_v<decltype(Mirror)>;
    static_assert(std::is_same_v<decltype(Client), decltype(Engine)>);
    static_assert(!mirrored || std::is_same_v<decltype(Client), decltype(Mirror)>);
};

// A change that both stores make.
template <std::uint32_t Id, auto Client, auto Store>
using BothStores = Operation<Id, Client, Store, Store>;

// An operation on the engine's own data.
template <std::uint32_t Id, auto Client, auto Engine>
using EngineOnly = Operation<Id, Client, Engine>;

template <class... Rows>
struct OperationTable : Rows... {};

// clang-format off
using ClientOperations = OperationTable<
    Operation<0, pppoeia_init, fe_pppoeia_init, pppoeia_cache_init>,
    EngineOnly<1, pppoeia_fini, fe_pppoeia_fini>,
    BothStores<2, pppoeia_log_level_set, cache_pppoeia_log_level_set>,
    BothStores<4, pppoeia_debug_admin_state_set, cache_pppoeia_debug_admin_state_set>,
    Operation<6, pppoeia_bridge_add, fe_pppoeia_bridge_add, pppoeia_cache_on_bridge_add>,
    Operation<7, pppoeia_bridge_del, fe_pppoeia_bridge_del, pppoeia_cache_on_bridge_del>,
    BothStores<8, pppoeia_bridge_max_pdu_set, cache_pppoeia_bridge_max_pdu_set>,
    BothStores<10, pppoeia_bridge_state_set, cache_pppoeia_bridge_state_set>,
    BothStores<12, pppoeia_bridge_vlan_set, cache_pppoeia_bridge_vlan_set>,
    BothStores<13, pppoeia_bridge_vlan_set_all, cache_pppoeia_bridge_vlan_set_all>,
    BothStores<15, pppoeia_bridge_vendor_set, cache_pppoeia_bridge_vendor_set>,
    BothStores<17, pppoeia_bridge_debug_set, cache_pppoeia_bridge_debug_set>,
    BothStores<19, pppoeia_bridge_vsa_mode_set, cache_pppoeia_bridge_vsa_mode_set>,
    BothStores<21, pppoeia_bridge_vsa_insert_circuit_id_set,
        cache_pppoeia_bridge_vsa_insert_circuit_id_set>,
    BothStores<23, pppoeia_bridge_vsa_insert_remote_id_set,
        cache_pppoeia_bridge_vsa_insert_remote_id_set>,
    BothStores<25, pppoeia_bridge_shelf_id_set, cache_pppoeia_bridge_shelf_id_set>,
    EngineOnly<27, pppoeia_bridge_stats_get, fe_pppoeia_bridge_stats_get>,
    EngineOnly<28, pppoeia_bridge_stats_reset, fe_pppoeia_bridge_stats_reset>,
    BothStores<29, pppoeia_port_add, cache_pppoeia_port_add>,
    BothStores<30, pppoeia_port_del, cache_pppoeia_port_del>,
    BothStores<31, pppoeia_port_state_set, cache_pppoeia_port_state_set>,
    BothStores<32, pppoeia_port_state_set_all, cache_pppoeia_port_state_set_all>,
    BothStores<34, pppoeia_port_trust_set, cache_pppoeia_port_trust_set>,
    BothStores<35, pppoeia_port_trust_set_all, cache_pppoeia_port_trust_set_all>,
    BothStores<37, pppoeia_port_remote_id_set, cache_pppoeia_port_remote_id_set>,
    EngineOnly<39, pppoeia_port_stats_get, fe_pppoeia_port_stats_get>,
    EngineOnly<40, pppoeia_port_stats_reset, fe_pppoeia_port_stats_reset>,
    BothStores<42, pppoeia_bridge_vsa_circuit_id_cvlan_set,
        cache_pppoeia_bridge_vsa_circuit_id_cvlan_set>,
    EngineOnly<44, ppppoeia_conf_event, fe_ppppoeia_conf_event>,
    BothStores<45, pppoeia_port_vsa_circuit_id_mode_set,
        cache_pppoeia_port_vsa_circuit_id_mode_set>,
    BothStores<47, pppoeia_port_pvc_set, cache_pppoeia_port_pvc_set>,
    BothStores<50, pppoeia_port_name_update, cache_pppoeia_port_name_update>,
    BothStores<51, pppoeia_port_parent_set, cache_pppoeia_port_parent_set>,
    BothStores<52, pppoeia_circuit_id_format_set, cache_pppoeia_circuit_id_format_set>,
    BothStores<54, pppoeia_remote_id_format_set, cache_pppoeia_remote_id_format_set>,
    BothStores<56, pppoeia_circuit_id_mode_port_vlan_set,
        cache_pppoeia_circuit_id_mode_port_vlan_set>,
    BothStores<58, pppoeia_circuit_id_format_port_vlan_set,
        cache_pppoeia_circuit_id_format_port_vlan_set>,
    BothStores<60, pppoeia_remote_id_format_port_vlan_set,
        cache_pppoeia_remote_id_format_port_vlan_set>,
    BothStores<62, pppoeia_port_vlan_add, cache_pppoeia_port_vlan_add>,
    BothStores<63, pppoeia_port_vlan_del, cache_pppoeia_port_vlan_del>,
    BothStores<67, clear_port_vlan, cache_clear_port_vlan>,
    EngineOnly<68, gen_circuit_id_by_intf_vlan, fe_gen_circuit_id_by_intf_vlan>,
    EngineOnly<69, gen_remote_id_by_intf_vlan, fe_gen_remote_id_by_intf_vlan>,
    EngineOnly<70, pppoeia_dump, fe_pppoeia_dump>,
    EngineOnly<71, pppoeia_test_dump, fe_pppoeia_test_dump>,
    EngineOnly<72, pppoeia_test_set, fe_pppoeia_test_set>,
    EngineOnly<73, pppoeia_test_debug, fe_pppoeia_test_debug>,
    EngineOnly<74, pppoeia_test_run, fe_pppoeia_test_run>,
    EngineOnly<75, pppoeia_bridge_contact_set, fe_pppoeia_bridge_contact_set>,
    EngineOnly<76, pppoeia_bridge_location_set, fe_pppoeia_bridge_location_set>,
    EngineOnly<77, pppoeia_bridge_sysname_set, fe_pppoeia_bridge_sysname_set>,
    EngineOnly<78, pppoeia_bridge_intf_descr_set, fe_pppoeia_bridge_intf_descr_set>,
    BothStores<79, pppoeia_vlan_add, cache_pppoeia_vlan_add>,
    BothStores<80, pppoeia_vlan_del, cache_pppoeia_vlan_del>,
    EngineOnly<81, pppoeia_vlan_name_set, cache_pppoeia_vlan_name_set>,
    BothStores<82, clear_vlan, cache_clear_vlan>,
    BothStores<83, pppoeia_bridge_chassis_id_set, cache_pppoeia_bridge_chassis_id_set>,
    EngineOnly<85, pppoeia_bridge_cpe_serial_set, fe_pppoeia_bridge_cpe_serial_set>,
    EngineOnly<86, pppoeia_bridge_cpe_mac_set, fe_pppoeia_bridge_cpe_mac_set>,
    BothStores<87, pppoeia_apply_default_settings, cache_pppoeia_apply_default_settings>,
    BothStores<88, clear_port_vlan_all, cache_clear_port_vlan_all>>;
// clang-format on

}  // namespace ia
