#include "entity/service.h"
#include "rpc/pppoeia.h"
#include "rpc/procedure.h"
#include "rpc/service.h"
#include "rte/BLL/core/rpcProxy.h"

namespace ia {

namespace {

bool_t xdr_port_and_text(XDR *stream, rpc_pppoeia_set_remoteid_1_argument *values) {
    return xdr_u_int(stream, &values->ifIndex) && xdr_text(stream, &values->remoteId);
}

template <auto Server, auto Arguments = xdr_bool>
constexpr Procedure setting(u_long number, const char *name, Labels labels = {}) {
    return changing<Server, Arguments, xdr_rpcPppoeiaResult>(number, name, labels);
}

// clang-format off
constexpr Procedure agent_procedures[] = {
    setting<rpc_pppoeia_set_state_1_svc>(1, "set", {"state"}),
    setting<rpc_pppoeia_unset_circuitid_1_svc, xdr_no_arguments>(2, "clear shelf"),
    setting<rpc_pppoeia_set_circuitid_1_svc, xdr_text>(3, "set", {"shelf"}),
    setting<rpc_pppoeia_set_debug_1_svc>(4, "set", {"debug"}),
    setting<rpc_pppoeia_set_interface_state_1_svc, xdr_rpc_pppoeia_set_interface_state_1_argument>(5, "set", {"port", "role"}),
    setting<rpc_pppoeia_set_interface_mode_1_svc, xdr_rpc_pppoeia_set_interface_mode_1_argument>(6, "set", {"port", "trust"}),
    setting<rpc_pppoeia_unset_remoteid_1_svc, xdr_u_int>(7, "clear Remote ID of", {"port"}),
    setting<rpc_pppoeia_set_remoteid_1_svc, xdr_port_and_text>(8, "set", {"port", "remote ID"}),
    setting<rpc_pppoeia_set_vlan_state_1_svc, xdr_rpc_pppoeia_set_vlan_state_1_argument>(9, "set", {"VLAN", "on"}),
    asking<rpc_pppoeia_get_info_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaInfo>(10),
    asking<rpc_pppoeia_get_interface_info_all_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaIntfInfoList>(11),
    asking<rpc_pppoeia_get_interface_info_1_svc, xdr_u_int, xdr_rpcResultPppoeiaIntfInfo>(12),
    asking<rpc_pppoeia_get_vlan_info_all_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaVlanInfoList>(13),
    asking<rpc_pppoeia_get_vlan_info_1_svc, xdr_u_int, xdr_rpcResultPppoeiaVlanInfo>(14),
    setting<rpc_pppoeia_set_log_level_1_svc, xdr_rpcPppoeiaLoggingLevel>(15, "set", {"log level"}),
    setting<rpc_pppoeia_set_vsa_mode_1_svc, xdr_rpcPppoeiaVsaMode>(16, "set", {"mode of tags"}),
    setting<rpc_pppoeia_set_vsa_circuitid_state_1_svc, xdr_int>(17, "set Circuit ID in tags", {"on"}),
    setting<rpc_pppoeia_set_vsa_remoteid_state_1_svc, xdr_int>(18, "set Remote ID in tags", {"on"}),
    asking<rpc_pppoeia_get_stat_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaStat>(19),
    asking<rpc_pppoeia_get_interface_stat_1_svc, xdr_u_int, xdr_rpcResultPppoeiaStat>(20),
    setting<rpc_pppoeia_reset_stat_1_svc, xdr_no_arguments>(21, "clear all counters"),
    setting<rpc_pppoeia_reset_interface_stat_1_svc, xdr_u_int>(22, "clear counters of", {"port"}),
    setting<rpc_pppoeia_set_circuit_id_cvlan_1_svc>(23, "set customer VLAN in Circuit IDs", {"on"}),
    setting<rpc_pppoeia_set_interface_circuit_id_mode_1_svc, xdr_rpc_pppoeia_set_interface_circuit_id_mode_1_argument>(24, "set Circuit-ID mode of", {"port", "mode"}),
    asking<rpc_pppoeia_get_interface_circuit_id_mode_1_svc, xdr_u_int, xdr_rpcResultPppoeiaCircuitIdMode>(25),
    setting<rpc_pppoeia_cid_format_set_1_svc, xdr_text>(26, "set Circuit-ID", {"format"}),
    setting<rpc_pppoeia_rid_format_set_1_svc, xdr_text>(27, "set Remote-ID", {"format"}),
    asking<rpc_pppoeia_port_vlan_info_list_get_1_svc, xdr_u_int, xdr_rpcResultPppoeiaPortVlanInfoList>(28),
    asking<rpc_pppoeia_port_vlan_info_get_1_svc, xdr_rpc_pppoeia_port_vlan_info_get_1_argument, xdr_rpcResultPppoeiaPortVlanInfo>(29),
    asking<rpc_pppoeia_get_circuit_id_gen_1_svc, xdr_rpc_pppoeia_get_circuit_id_gen_1_argument, xdr_rpcResultPppoeiaSuboptionResult>(30),
    asking<rpc_pppoeia_get_remote_id_gen_1_svc, xdr_rpc_pppoeia_get_remote_id_gen_1_argument, xdr_rpcResultPppoeiaSuboptionResult>(31),
    setting<rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_svc, xdr_rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_argument>(32, "set Circuit-ID mode of", {"port", "VLAN", "mode"}),
};
// clang-format on

static_assert(is_sorted(agent_procedures) && std::size(agent_procedures) == 32);

}  // namespace

void dispatch(svc_req *request, SVCXPRT *transport) {
    serve(agent_procedures, request, transport);
}

}  // namespace ia

void *rpcPppoeiaStart(void *) {
    rpcProxyRegisterSvc(ia::rpc_program, ia::rpc_version, ia::dispatch);
    rpcProxyRegisterSvc(ia::node_rpc_program, ia::node_rpc_version, ia::dispatch_node);
    return nullptr;
}

namespace {

// Loading the library registers the service with the entity's host. The node's
// health can be asked for even without an engine, and so without an entity.
[[maybe_unused]] const bool handed_in =
    (ia::serve_with(rpcPppoeiaStart),
     rpcProxyServeLocally(ia::rpc_program, ia::rpc_version, ia::dispatch),
     rpcProxyServeLocally(ia::node_rpc_program, ia::node_rpc_version, ia::dispatch_node), true);

}  // namespace
