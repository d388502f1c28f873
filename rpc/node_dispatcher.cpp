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
    changing<rpc_node_set_line_cid_format_1_svc, xdr_rpc_node_set_line_cid_format_1_argument, xdr_int>(6),
    changing<rpc_node_set_line_rid_format_1_svc, xdr_rpc_node_set_line_rid_format_1_argument, xdr_int>(7),
    asking<rpc_node_config_show_1_svc, xdr_no_arguments, xdr_rpcNodeText>(8),
    asking<rpc_node_config_diff_1_svc, xdr_no_arguments, xdr_rpcNodeText>(9),
    asking<rpc_node_config_status_1_svc, xdr_no_arguments, xdr_rpcNodeConfigStatus>(10),
    changing<rpc_node_config_save_1_svc, xdr_no_arguments, xdr_rpcNodeText>(11),
    changing<rpc_node_config_clear_1_svc, xdr_no_arguments, xdr_rpcNodeText>(12),
    changing<rpc_node_clear_line_1_svc, xdr_rpc_node_clear_line_1_argument, xdr_int>(13),
};
// clang-format on
static_assert(is_complete(node_procedures));

}  // namespace

void dispatch_node(svc_req *request, SVCXPRT *transport) {
    serve(node_procedures, request, transport);
}

}  // namespace ia
