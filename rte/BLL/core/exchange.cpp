// An RPC library transport that works on one call in memory.
//
// The library's own stream transport blocks on half a call, and its datagram
// transport decodes past the datagram's end, into earlier callers' bytes. So the
// receive loop reads whole calls and gives them to the library through these
// operations.
#include "rte/BLL/core/exchange.h"

#include <rpc/rpc_msg.h>
#include <rpc/xdr.h>
#include <map>
#include <type_traits>

namespace ia {

namespace {

// The call being dispatched on this thread, and its decoder.
struct InHand {
    Exchange *exchange = nullptr;
    const SVCXPRT *transport = nullptr;
    XDR arguments{};
    u_int32_t id = 0;
};
thread_local InHand in_hand;

using XdrCall = bool_t (*)(XDR *, void *);

bool_t send_reply(SVCXPRT *, rpc_msg *message) {
    if (!in_hand.exchange) return FALSE;
    Exchange &exchange = *in_hand.exchange;
    message->rm_xid = in_hand.id;
    const u_long size = xdr_sizeof(reinterpret_cast<xdrproc_t>(xdr_replymsg), message);
    if (size == 0 || size > exchange.longest_reply) return FALSE;
    exchange.reply.resize(size);
    XDR stream{};
    xdrmem_create(&stream, exchange.reply.data(), static_cast<u_int>(size), XDR_ENCODE);
    if (xdr_replymsg(&stream, message)) return TRUE;
    exchange.reply.clear();
    return FALSE;
}

// The caller is identified by other means, so other flavours are refused: each
// would only add a decoder.
bool plain_credentials(SVCXPRT *transport, const rpc_msg &message) {
    const enum_t flavor = message.rm_call.cb_cred.oa_flavor;
    if (flavor == AUTH_NONE || flavor == AUTH_SYS) return true;
    svcerr_auth(transport, AUTH_REJECTEDCRED);
    return false;
}

bool_t receive(SVCXPRT *transport, rpc_msg *message) {
    if (!in_hand.exchange) return FALSE;
    const std::span<char> call = in_hand.exchange->call;
    xdrmem_create(&in_hand.arguments, call.data(), static_cast<u_int>(call.size()), XDR_DECODE);
    if (!xdr_callmsg(&in_hand.arguments, message)) return FALSE;
    in_hand.exchange->understood = true;
    in_hand.id = message->rm_xid;
    return plain_credentials(transport, *message);
}

xprt_stat state(SVCXPRT *) {
    return XPRT_IDLE;
}

bool_t get_arguments(SVCXPRT *, xdrproc_t routine, void *values) {
    return in_hand.exchange && reinterpret_cast<XdrCall>(routine)(&in_hand.arguments, values);
}

bool_t free_arguments(SVCXPRT *, xdrproc_t routine, void *values) {
    XDR stream{};
    stream.x_op = XDR_FREE;
    return reinterpret_cast<XdrCall>(routine)(&stream, values);
}

void destroy(SVCXPRT *) {}

using Operations = std::remove_pointer_t<decltype(SVCXPRT::xp_ops)>;
Operations memory_operations{receive, state, get_arguments, send_reply, free_arguments, destroy};

// The library's original operations, by transport. Used on the receive loop's
// thread, and by the thread that destroys a transport.
std::map<const SVCXPRT *, decltype(SVCXPRT::xp_ops)> &library_operations() {
    static auto *const all = new std::map<const SVCXPRT *, decltype(SVCXPRT::xp_ops)>;
    return *all;
}

}  // namespace

void dispatch_call(const Endpoint &endpoint, Exchange &exchange) {
    SVCXPRT &transport = *endpoint.transport;
    if (transport.xp_ops != &memory_operations) {
        library_operations()[&transport] = transport.xp_ops;
        transport.xp_ops = &memory_operations;
    }
    const netbuf others = transport.xp_rtaddr;
    transport.xp_rtaddr = {sizeof exchange.address, exchange.address_length, &exchange.address};
    in_hand.exchange = &exchange;
    in_hand.transport = &transport;
    svc_getreq_common(transport.xp_fd);
    in_hand = {};
    transport.xp_rtaddr = others;
}

void forget_exchanges(SVCXPRT *transport) {
    const auto found = library_operations().find(transport);
    if (found == library_operations().end()) return;
    transport->xp_ops = found->second;
    library_operations().erase(found);
}

}  // namespace ia

const rpcProxyCaller_t *rpcProxyCaller(const SVCXPRT *transport) {
    const ia::InHand &now = ia::in_hand;
    return now.exchange && now.transport == transport ? &now.exchange->caller : nullptr;
}
