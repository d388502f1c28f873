// The procedures of an ONC RPC program as one table, and the dispatcher that
// works from it: decoding, the node's gate, the call, the reply.
//
// A server function answers with a reply object of its own that lasts until its
// next call; requests are served one at a time.
#pragma once

#include "platform/bll/rpcGate.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <span>

namespace ia {

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

inline bool_t xdr_no_arguments(XDR *, NoArguments *) {
    return TRUE;
}

// Far longer than any text that is kept. The RPC library takes memory for the
// length announced before it has read a byte of it.
inline constexpr u_int text_max = 65535;

inline bool_t xdr_text(XDR *stream, char **text) {
    return xdr_string(stream, text, text_max);
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

template <auto Server, auto Arguments, auto Reply>
constexpr Procedure changing(u_long number) {
    return procedure<Server, Arguments, Reply>(number, true);
}

template <auto Server, auto Arguments, auto Reply>
constexpr Procedure asking(u_long number) {
    return procedure<Server, Arguments, Reply>(number, false);
}

// Arguments of any procedure fit.
inline constexpr std::size_t max_arguments = 64;

// A table whose row n serves procedure n + 1.
constexpr bool is_complete(std::span<const Procedure> procedures) {
    for (std::size_t row = 0; row < procedures.size(); ++row)
        if (procedures[row].number != row + 1 || procedures[row].arguments_size > max_arguments)
            return false;
    return true;
}

// Serves one request of the program with these procedures.
void serve(std::span<const Procedure> procedures, svc_req *request, SVCXPRT *transport);

}  // namespace ia
