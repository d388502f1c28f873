// A table of the procedures of an ONC RPC program, and the dispatcher that uses it:
// decoding, the node's gate, the call, the reply.
//
// A server function returns its own reply object, valid until its next call;
// requests are served one at a time.
#pragma once

#include "platform/bll/rpcGate.h"
#include "rpc/subject.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <span>

namespace ia {

using XdrRoutine = bool_t (*)(XDR *, void *);

// One procedure: the types of its arguments and reply, its server function, and
// whether it changes anything.
struct Procedure {
    u_long number;
    XdrRoutine arguments;
    std::size_t arguments_size;
    XdrRoutine reply;
    void *(*serve)(void *arguments, svc_req *request);
    bool changes;

    // For a procedure that changes something, for the log: its name, its arguments'
    // names, a function that prints them, and the result in its reply.
    const char *name = "";
    Labels labels{};
    void (*describe)(const void *arguments, const Labels &labels, Subject &subject) = nullptr;
    int (*result)(const void *reply) = nullptr;
};

struct NoArguments {};

inline bool_t xdr_no_arguments(XDR *, NoArguments *) {
    return TRUE;
}

// Far longer than any stored text. The RPC library allocates the announced length
// before it has read a byte.
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

template <class Reply, class First, class Second, class Third, class Fourth, class Arguments>
Reply *call(Reply *(*server)(First, Second, Third, Fourth, svc_req *), Arguments &arguments,
            svc_req *request) {
    auto &[first, second, third, fourth] = arguments;
    return server(first, second, third, fourth, request);
}

// The arguments of a server function one by one, with their names.
template <class Reply>
void describe(Reply *(*)(svc_req *), const NoArguments &, const Labels &, Subject &) {}

template <class Reply, class Argument>
void describe(Reply *(*)(Argument, svc_req *), const Argument &argument, const Labels &labels,
              Subject &subject) {
    subject.add(labels[0], argument);
}

template <class Reply, class First, class Second, class Arguments>
void describe(Reply *(*)(First, Second, svc_req *), const Arguments &arguments,
              const Labels &labels, Subject &subject) {
    const auto &[first, second] = arguments;
    subject.add(labels[0], first);
    subject.add(labels[1], second);
}

template <class Reply, class First, class Second, class Third, class Arguments>
void describe(Reply *(*)(First, Second, Third, svc_req *), const Arguments &arguments,
              const Labels &labels, Subject &subject) {
    const auto &[first, second, third] = arguments;
    subject.add(labels[0], first);
    subject.add(labels[1], second);
    subject.add(labels[2], third);
}

template <class Reply>
int result_of(const Reply &reply) {
    if constexpr (requires { reply.result; })
        return static_cast<int>(reply.result);
    else
        return static_cast<int>(reply);
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
constexpr Procedure changing(u_long number, const char *name, Labels labels = {}) {
    using Values = decltype(value_of(Arguments));
    using Replied = decltype(value_of(Reply));
    Procedure made = procedure<Server, Arguments, Reply>(number, true);
    made.name = name;
    made.labels = labels;
    made.describe = [](const void *values, const Labels &names, Subject &subject) {
        describe(Server, *static_cast<const Values *>(values), names, subject);
    };
    made.result = [](const void *reply) { return result_of(*static_cast<const Replied *>(reply)); };
    return made;
}

template <auto Server, auto Arguments, auto Reply>
constexpr Procedure asking(u_long number) {
    return procedure<Server, Arguments, Reply>(number, false);
}

// Holds the arguments of any procedure.
inline constexpr std::size_t max_arguments = 64;

// A table in the order of its numbers, from 1 on.
constexpr bool is_sorted(std::span<const Procedure> procedures) {
    u_long before = 0;
    for (const Procedure &row : procedures) {
        if (row.number <= before || row.arguments_size > max_arguments) return false;
        before = row.number;
    }
    return true;
}

// Serves one request of the program with these procedures.
void serve(std::span<const Procedure> procedures, svc_req *request, SVCXPRT *transport);

}  // namespace ia
