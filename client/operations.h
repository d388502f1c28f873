// The table of operations that a client asks the engine for: function id, the
// client's function, what the engine runs for it, and what then repeats the
// change in the client's own store. Client and engine both work from it.
//
// The three have one signature, which also says how the parameters travel
// (client/wire.h). Ids are fixed; gaps are not used.
#pragma once

#include "pppoeia/client.h"
#include "pppoeia/fe.h"
#include "pppoeia/store.h"

#include <cstdint>
#include <type_traits>

namespace ia {

template <std::uint32_t Id, auto Client, auto Engine, auto Mirror = nullptr>
struct operation {
    static constexpr std::uint32_t id = Id;
    static constexpr auto engine = Engine;
    static constexpr auto mirror = Mirror;
    static constexpr bool mirrored = !std::is_null_pointer_v<decltype(Mirror)>;
    static_assert(std::is_same_v<decltype(Client), decltype(Engine)>);
    static_assert(!mirrored || std::is_same_v<decltype(Client), decltype(Mirror)>);
};

// A change that the engine makes in its store and the client in its own.
template <std::uint32_t Id, auto Client, auto Store>
using both_stores = operation<Id, Client, Store, Store>;

// What only the engine keeps.
template <std::uint32_t Id, auto Client, auto Engine>
using engine_only = operation<Id, Client, Engine>;

template <class... Rows>
struct operation_table : Rows... {};

// clang-format off
using operations = operation_table<
    operation<0, pppoeia_init, fe_pppoeia_init, pppoeia_cache_init>,
    engine_only<1, pppoeia_fini, fe_pppoeia_fini>,
    both_stores<2, pppoeia_log_level_set, cache_pppoeia_log_level_set>,
    both_stores<4, pppoeia_debug_admin_state_set, cache_pppoeia_debug_admin_state_set>,
    operation<6, pppoeia_bridge_add, fe_pppoeia_bridge_add, pppoeia_cache_on_bridge_add>,
    operation<7, pppoeia_bridge_del, fe_pppoeia_bridge_del, pppoeia_cache_on_bridge_del>,
    both_stores<8, pppoeia_bridge_max_pdu_set, cache_pppoeia_bridge_max_pdu_set>,
    both_stores<10, pppoeia_bridge_state_set, cache_pppoeia_bridge_state_set>,
    both_stores<12, pppoeia_bridge_vlan_set, cache_pppoeia_bridge_vlan_set>,
    both_stores<13, pppoeia_bridge_vlan_set_all, cache_pppoeia_bridge_vlan_set_all>,
    both_stores<15, pppoeia_bridge_vendor_set, cache_pppoeia_bridge_vendor_set>,
    both_stores<17, pppoeia_bridge_debug_set, cache_pppoeia_bridge_debug_set>,
    both_stores<19, pppoeia_bridge_vsa_mode_set, cache_pppoeia_bridge_vsa_mode_set>,
    both_stores<21, pppoeia_bridge_vsa_insert_circuit_id_set,
        cache_pppoeia_bridge_vsa_insert_circuit_id_set>,
    both_stores<23, pppoeia_bridge_vsa_insert_remote_id_set,
        cache_pppoeia_bridge_vsa_insert_remote_id_set>,
    both_stores<25, pppoeia_bridge_shelf_id_set, cache_pppoeia_bridge_shelf_id_set>,
    engine_only<27, pppoeia_bridge_stats_get, fe_pppoeia_bridge_stats_get>,
    engine_only<28, pppoeia_bridge_stats_reset, fe_pppoeia_bridge_stats_reset>,
    both_stores<29, pppoeia_port_add, cache_pppoeia_port_add>,
    both_stores<30, pppoeia_port_del, cache_pppoeia_port_del>,
    both_stores<31, pppoeia_port_state_set, cache_pppoeia_port_state_set>,
    both_stores<32, pppoeia_port_state_set_all, cache_pppoeia_port_state_set_all>,
    both_stores<34, pppoeia_port_trust_set, cache_pppoeia_port_trust_set>,
    both_stores<35, pppoeia_port_trust_set_all, cache_pppoeia_port_trust_set_all>,
    both_stores<37, pppoeia_port_remote_id_set, cache_pppoeia_port_remote_id_set>,
    engine_only<39, pppoeia_port_stats_get, fe_pppoeia_port_stats_get>,
    engine_only<40, pppoeia_port_stats_reset, fe_pppoeia_port_stats_reset>,
    both_stores<42, pppoeia_bridge_vsa_circuit_id_cvlan_set,
        cache_pppoeia_bridge_vsa_circuit_id_cvlan_set>,
    engine_only<44, ppppoeia_conf_event, fe_ppppoeia_conf_event>,
    both_stores<45, pppoeia_port_vsa_circuit_id_mode_set,
        cache_pppoeia_port_vsa_circuit_id_mode_set>,
    both_stores<47, pppoeia_port_pvc_set, cache_pppoeia_port_pvc_set>,
    both_stores<50, pppoeia_port_name_update, cache_pppoeia_port_name_update>,
    both_stores<51, pppoeia_port_parent_set, cache_pppoeia_port_parent_set>,
    both_stores<52, pppoeia_circuit_id_format_set, cache_pppoeia_circuit_id_format_set>,
    both_stores<54, pppoeia_remote_id_format_set, cache_pppoeia_remote_id_format_set>,
    both_stores<56, pppoeia_circuit_id_mode_port_vlan_set,
        cache_pppoeia_circuit_id_mode_port_vlan_set>,
    both_stores<58, pppoeia_circuit_id_format_port_vlan_set,
        cache_pppoeia_circuit_id_format_port_vlan_set>,
    both_stores<60, pppoeia_remote_id_format_port_vlan_set,
        cache_pppoeia_remote_id_format_port_vlan_set>,
    both_stores<62, pppoeia_port_vlan_add, cache_pppoeia_port_vlan_add>,
    both_stores<63, pppoeia_port_vlan_del, cache_pppoeia_port_vlan_del>,
    both_stores<67, clear_port_vlan, cache_clear_port_vlan>,
    engine_only<68, gen_circuit_id_by_intf_vlan, fe_gen_circuit_id_by_intf_vlan>,
    engine_only<69, gen_remote_id_by_intf_vlan, fe_gen_remote_id_by_intf_vlan>,
    engine_only<70, pppoeia_dump, fe_pppoeia_dump>,
    engine_only<71, pppoeia_test_dump, fe_pppoeia_test_dump>,
    engine_only<72, pppoeia_test_set, fe_pppoeia_test_set>,
    engine_only<73, pppoeia_test_debug, fe_pppoeia_test_debug>,
    engine_only<74, pppoeia_test_run, fe_pppoeia_test_run>,
    engine_only<75, pppoeia_bridge_contact_set, fe_pppoeia_bridge_contact_set>,
    engine_only<76, pppoeia_bridge_location_set, fe_pppoeia_bridge_location_set>,
    engine_only<77, pppoeia_bridge_sysname_set, fe_pppoeia_bridge_sysname_set>,
    engine_only<78, pppoeia_bridge_intf_descr_set, fe_pppoeia_bridge_intf_descr_set>,
    both_stores<79, pppoeia_vlan_add, cache_pppoeia_vlan_add>,
    both_stores<80, pppoeia_vlan_del, cache_pppoeia_vlan_del>,
    engine_only<81, pppoeia_vlan_name_set, cache_pppoeia_vlan_name_set>,
    both_stores<82, clear_vlan, cache_clear_vlan>,
    both_stores<83, pppoeia_bridge_chassis_id_set, cache_pppoeia_bridge_chassis_id_set>,
    engine_only<85, pppoeia_bridge_cpe_serial_set, fe_pppoeia_bridge_cpe_serial_set>,
    engine_only<86, pppoeia_bridge_cpe_mac_set, fe_pppoeia_bridge_cpe_mac_set>,
    both_stores<87, pppoeia_apply_default_settings, cache_pppoeia_apply_default_settings>,
    both_stores<88, clear_port_vlan_all, cache_clear_port_vlan_all>>;
// clang-format on

}  // namespace ia
