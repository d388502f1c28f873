#include "entity/rpc_start.h"
#include "platform/bll/rpcGate.h"
#include "rpc/pppoeia.h"
#include "rpc/service.h"
#include "rte/BLL/core/rpcProxy.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <type_traits>

namespace ia {

namespace {

using XdrRoutine = bool_t (*)(XDR *, void *);

// One procedure: how its arguments and its reply travel, who serves it, and
// whether it changes anything.
struct Procedure {
    u_long number;
    XdrRoutine arguments;
    std::size_t arguments_size;
    XdrRoutine reply;
    void *(*serve)(void *arguments, svc_req *request);
    bool changes;
};

struct NoArguments {};

bool_t xdr_no_arguments(XDR *, NoArguments *) {
    return TRUE;
}

// Far longer than any text that is kept. The RPC library takes memory for the
// length announced before it has read a byte of it.
constexpr u_int text_max = 65535;

bool_t xdr_text(XDR *stream, char **text) {
    return xdr_string(stream, text, text_max);
}

bool_t xdr_port_and_text(XDR *stream, rpc_pppoeia_set_remoteid_1_argument *values) {
    return xdr_u_int(stream, &values->ifIndex) && xdr_text(stream, &values->remoteId);
}

template <class Value>
Value value_of(bool_t (*)(XDR *, Value *));

// An XDR routine as the table holds it.
template <auto Routine>
bool_t erased(XDR *stream, void *value) {
    return Routine(stream, static_cast<decltype(value_of(Routine)) *>(value));
}

// Calls the server function with its arguments one by one.
template <class Reply>
Reply *call(Reply *(*server)(svc_req *), NoArguments &, svc_req *request) {
    return server(request);
}

template <class Reply, class Argument>
Reply *call(Reply *(*server)(Argument, svc_req *), Argument &argument, svc_req *request) {
    return server(argument, request);
}

template <class Reply, class First, class Second, class Arguments>
Reply *call(Reply *(*server)(First, Second, svc_req *), Arguments &arguments, svc_req *request) {
    auto &[first, second] = arguments;
    return server(first, second, request);
}

template <class Reply, class First, class Second, class Third, class Arguments>
Reply *call(Reply *(*server)(First, Second, Third, svc_req *), Arguments &arguments,
            svc_req *request) {
    auto &[first, second, third] = arguments;
    return server(first, second, third, request);
}

template <auto Server, auto Arguments, auto Reply>
constexpr Procedure procedure(u_long number, bool changes) {
    using Values = decltype(value_of(Arguments));
    return {number,
            erased<Arguments>,
            sizeof(Values),
            erased<Reply>,
            [](void *values, svc_req *request) -> void * {
                return call(Server, *static_cast<Values *>(values), request);
            },
            changes};
}

template <auto Server, auto Arguments = xdr_bool>
constexpr Procedure changing(u_long number) {
    return procedure<Server, Arguments, xdr_rpcPppoeiaResult>(number, true);
}

template <auto Server, auto Arguments, auto Reply>
constexpr Procedure asking(u_long number) {
    return procedure<Server, Arguments, Reply>(number, false);
}

// clang-format off
constexpr Procedure procedures[] = {
    changing<rpc_pppoeia_set_state_1_svc>(1),
    changing<rpc_pppoeia_unset_circuitid_1_svc, xdr_no_arguments>(2),
    changing<rpc_pppoeia_set_circuitid_1_svc, xdr_text>(3),
    changing<rpc_pppoeia_set_debug_1_svc>(4),
    changing<rpc_pppoeia_set_interface_state_1_svc, xdr_rpc_pppoeia_set_interface_state_1_argument>(5),
    changing<rpc_pppoeia_set_interface_mode_1_svc, xdr_rpc_pppoeia_set_interface_mode_1_argument>(6),
    changing<rpc_pppoeia_unset_remoteid_1_svc, xdr_u_int>(7),
    changing<rpc_pppoeia_set_remoteid_1_svc, xdr_port_and_text>(8),
    changing<rpc_pppoeia_set_vlan_state_1_svc, xdr_rpc_pppoeia_set_vlan_state_1_argument>(9),
    asking<rpc_pppoeia_get_info_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaInfo>(10),
    asking<rpc_pppoeia_get_interface_info_all_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaIntfInfoList>(11),
    asking<rpc_pppoeia_get_interface_info_1_svc, xdr_u_int, xdr_rpcResultPppoeiaIntfInfo>(12),
    asking<rpc_pppoeia_get_vlan_info_all_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaVlanInfoList>(13),
    asking<rpc_pppoeia_get_vlan_info_1_svc, xdr_u_int, xdr_rpcResultPppoeiaVlanInfo>(14),
    changing<rpc_pppoeia_set_log_level_1_svc, xdr_rpcPppoeiaLoggingLevel>(15),
    changing<rpc_pppoeia_set_vsa_mode_1_svc, xdr_rpcPppoeiaVsaMode>(16),
    changing<rpc_pppoeia_set_vsa_circuitid_state_1_svc, xdr_int>(17),
    changing<rpc_pppoeia_set_vsa_remoteid_state_1_svc, xdr_int>(18),
    asking<rpc_pppoeia_get_stat_1_svc, xdr_no_arguments, xdr_rpcResultPppoeiaStat>(19),
    asking<rpc_pppoeia_get_interface_stat_1_svc, xdr_u_int, xdr_rpcResultPppoeiaStat>(20),
    changing<rpc_pppoeia_reset_stat_1_svc, xdr_no_arguments>(21),
    changing<rpc_pppoeia_reset_interface_stat_1_svc, xdr_u_int>(22),
    changing<rpc_pppoeia_set_circuit_id_cvlan_1_svc>(23),
    changing<rpc_pppoeia_set_interface_circuit_id_mode_1_svc, xdr_rpc_pppoeia_set_interface_circuit_id_mode_1_argument>(24),
    asking<rpc_pppoeia_get_interface_circuit_id_mode_1_svc, xdr_u_int, xdr_rpcResultPppoeiaCircuitIdMode>(25),
    changing<rpc_pppoeia_cid_format_set_1_svc, xdr_text>(26),
    changing<rpc_pppoeia_rid_format_set_1_svc, xdr_text>(27),
    asking<rpc_pppoeia_port_vlan_info_list_get_1_svc, xdr_u_int, xdr_rpcResultPppoeiaPortVlanInfoList>(28),
    asking<rpc_pppoeia_port_vlan_info_get_1_svc, xdr_rpc_pppoeia_port_vlan_info_get_1_argument, xdr_rpcResultPppoeiaPortVlanInfo>(29),
    asking<rpc_pppoeia_get_circuit_id_gen_1_svc, xdr_rpc_pppoeia_get_circuit_id_gen_1_argument, xdr_rpcResultPppoeiaSuboptionResult>(30),
    asking<rpc_pppoeia_get_remote_id_gen_1_svc, xdr_rpc_pppoeia_get_remote_id_gen_1_argument, xdr_rpcResultPppoeiaSuboptionResult>(31),
    changing<rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_svc, xdr_rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_argument>(32),
};
// clang-format on

constexpr bool numbered_from_one() {
    for (std::size_t row = 0; row < std::size(procedures); ++row)
        if (procedures[row].number != row + 1) return false;
    return true;
}
static_assert(numbered_from_one());

constexpr std::size_t largest_arguments = [] {
    std::size_t largest = 0;
    for (const Procedure &row : procedures) largest = std::max(largest, row.arguments_size);
    return largest;
}();

bool_t xdr_nothing(XDR *, ...) {
    return TRUE;
}

// The RPC library takes XDR routines of any arguments.
xdrproc_t as_xdrproc(XdrRoutine routine) {
    return reinterpret_cast<xdrproc_t>(routine);
}

}  // namespace

void dispatch(svc_req *request, SVCXPRT *transport) {
    if (request->rq_proc == NULLPROC) {
        svc_sendreply(transport, xdr_nothing, nullptr);
        return;
    }
    if (request->rq_proc > std::size(procedures)) {
        svcerr_noproc(transport);
        return;
    }
    const Procedure &row = procedures[request->rq_proc - 1];
    if (!rpcCallAllowed(request, transport, row.changes)) return;

    alignas(std::max_align_t) std::byte arguments[largest_arguments] = {};
    if (!svc_getargs(transport, as_xdrproc(row.arguments), arguments)) {
        svcerr_decode(transport);
        return;
    }
    if (void *reply = row.serve(arguments, request))
        if (!svc_sendreply(transport, as_xdrproc(row.reply), reply)) svcerr_systemerr(transport);
    if (!svc_freeargs(transport, as_xdrproc(row.arguments), arguments))
        std::fputs("unable to free arguments", stderr);
}

}  // namespace ia

void *rpcPppoeiaStart(void *) {
    rpcProxyRegisterSvc(ia::rpc_program, ia::rpc_version, ia::dispatch);
    return nullptr;
}
