#include "rpc/procedure.h"

namespace ia {

namespace {

bool_t xdr_nothing(XDR *, ...) {
    return TRUE;
}

// The RPC library takes XDR routines of any arguments.
xdrproc_t as_xdrproc(XdrRoutine routine) {
    return reinterpret_cast<xdrproc_t>(routine);
}

}  // namespace

void serve(std::span<const Procedure> procedures, svc_req *request, SVCXPRT *transport) {
    if (request->rq_proc == NULLPROC) {
        svc_sendreply(transport, xdr_nothing, nullptr);
        return;
    }
    if (request->rq_proc > procedures.size()) {
        svcerr_noproc(transport);
        return;
    }
    const Procedure &row = procedures[request->rq_proc - 1];
    if (!rpcCallAllowed(request, transport, row.changes)) return;

    alignas(std::max_align_t) std::byte arguments[max_arguments] = {};
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
