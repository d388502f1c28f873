#include "rpc/procedure.h"

#include "rpc/last_refusal.h"
#include "rte/BLL/core/rpcProxy.h"

#include <string>

namespace ia {

namespace {

bool_t xdr_nothing(XDR *, ...) {
    return TRUE;
}

// The RPC library takes XDR routines of any arguments.
xdrproc_t as_xdrproc(XdrRoutine routine) {
    return reinterpret_cast<xdrproc_t>(routine);
}

// Callers over the local socket can ask for the reason; each is identified by its
// process.
struct LastRefusal {
    pid_t process = 0;
    std::string why;
};
LastRefusal last_refusal;  // of the receive loop's thread

void write_down(const Procedure &row, const Subject &subject, int result, SVCXPRT *transport) {
    std::string outcome = "done";
    last_refusal = {};
    if (result != 0) {
        const std::string why = subject.explain(result);
        outcome = "refused with " + std::to_string(result) + (why.empty() ? "" : ": " + why);
        if (const rpcProxyCaller_t *const caller = rpcProxyCaller(transport))
            last_refusal = {caller->process, why};
    }
    const std::string &words = subject.words();
    rpcCallDone(transport, row.name + (words.empty() ? words : ' ' + words), outcome);
}

}  // namespace

std::string why_refused(const SVCXPRT *transport) {
    const rpcProxyCaller_t *const caller = rpcProxyCaller(transport);
    const bool known = caller && caller->process != 0 && caller->process == last_refusal.process;
    return known ? last_refusal.why : std::string();
}

void serve(std::span<const Procedure> procedures, svc_req *request, SVCXPRT *transport) {
    if (request->rq_proc == NULLPROC) {
        svc_sendreply(transport, xdr_nothing, nullptr);
        return;
    }
    const auto found =
        std::ranges::lower_bound(procedures, request->rq_proc, {}, &Procedure::number);
    if (found == procedures.end() || found->number != request->rq_proc) {
        svcerr_noproc(transport);
        return;
    }
    const Procedure &row = *found;
    if (!rpcCallAllowed(request, transport, row.changes)) return;

    alignas(std::max_align_t) std::byte arguments[max_arguments] = {};
    if (!svc_getargs(transport, as_xdrproc(row.arguments), arguments)) {
        svcerr_decode(transport);
        xdr_free(as_xdrproc(row.arguments), reinterpret_cast<char *>(arguments));
        return;
    }
    Subject subject;
    if (row.changes) row.describe(arguments, row.labels, subject);
    if (void *reply = row.serve(arguments, request)) {
        if (row.changes) write_down(row, subject, row.result(reply), transport);
        if (!svc_sendreply(transport, as_xdrproc(row.reply), reply)) svcerr_systemerr(transport);
    }
    if (!svc_freeargs(transport, as_xdrproc(row.arguments), arguments))
        std::fputs("unable to free arguments", stderr);
}

}  // namespace ia
