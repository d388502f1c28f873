#include "rpc/pppoeia_node.h"
#include "rpc/procedure.h"
#include "rpc/service.h"

namespace ia {

namespace {

// clang-format off
constexpr Procedure node_procedures[] = {
    asking<rpc_node_status_1_svc, xdr_no_arguments, xdr_rpcNodeStatus>(1),
    asking<rpc_node_ports_1_svc, xdr_no_arguments, xdr_rpcNodePortList>(2),
    asking<rpc_node_counters_1_svc, xdr_no_arguments, xdr_rpcNodeCountersReply>(3),
    asking<rpc_node_line_1_svc, xdr_rpc_node_line_1_argument, xdr_rpcNodeLine>(4),
    asking<rpc_node_metrics_1_svc, xdr_no_arguments, xdr_rpcNodeText>(5),
    changing<rpc_node_set_line_cid_format_1_svc, xdr_rpc_node_set_line_cid_format_1_argument, xdr_int>(6, "set Circuit-ID format of", {"port", "VLAN", "format"}),
    changing<rpc_node_set_line_rid_format_1_svc, xdr_rpc_node_set_line_rid_format_1_argument, xdr_int>(7, "set Remote-ID format of", {"port", "VLAN", "format"}),
    asking<rpc_node_config_show_1_svc, xdr_no_arguments, xdr_rpcNodeText>(8),
    asking<rpc_node_config_diff_1_svc, xdr_no_arguments, xdr_rpcNodeText>(9),
    asking<rpc_node_config_status_1_svc, xdr_no_arguments, xdr_rpcNodeConfigStatus>(10),
    changing<rpc_node_config_save_1_svc, xdr_no_arguments, xdr_rpcNodeText>(11, "save settings"),
    changing<rpc_node_config_clear_1_svc, xdr_no_arguments, xdr_rpcNodeText>(12, "clear settings"),
    changing<rpc_node_clear_line_1_svc, xdr_rpc_node_clear_line_1_argument, xdr_int>(13, "clear line", {"port", "VLAN"}),
    asking<rpc_node_line_ids_1_svc, xdr_rpc_node_line_ids_1_argument, xdr_rpcNodeLineIds>(14),
    asking<rpc_node_config_described_1_svc, xdr_no_arguments, xdr_rpcNodeText>(15),
    changing<rpc_node_reload_1_svc, xdr_bool, xdr_rpcNodeText>(20, "reload", {"dry run"}),
    asking<rpc_node_health_1_svc, xdr_no_arguments, xdr_rpcNodeHealth>(21),
    asking<rpc_node_why_1_svc, xdr_no_arguments, xdr_rpcNodeText>(30),
    asking<rpc_node_devices_1_svc, xdr_no_arguments, xdr_rpcNodeDeviceList>(40),
    asking<rpc_node_port_frames_1_svc, xdr_u_int, xdr_rpcNodePortFrames>(41),
    asking<rpc_node_lines_1_svc, xdr_no_arguments, xdr_rpcNodeLines>(50),
    asking<rpc_node_line_story_1_svc, xdr_rpc_node_line_story_1_argument, xdr_rpcNodeLineStory>(51),
    asking<rpc_node_servers_1_svc, xdr_no_arguments, xdr_rpcNodeServers>(52),
};
// clang-format on
static_assert(is_sorted(node_procedures));

}  // namespace

void dispatch_node(svc_req *request, SVCXPRT *transport) {
    serve(node_procedures, request, transport);
}

}  // namespace ia
