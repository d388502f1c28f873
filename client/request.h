// Builds a call to the engine and makes it.
#pragma once

#include "client/changes.h"
#include "client/node_operations.h"
#include "client/wire.h"
#include "platform/ippc.h"

#include <cstdint>
#include <memory>
#include <type_traits>

namespace ia {

// Where the engine is reached. Tests use a path of their own.
inline constinit const char *engine_path = PPPOEIA_ENGINE_PATH;

// A request under construction. The first parameter that cannot be added decides
// the call's result; the others are then ignored.
struct Request {
    Request(std::uint32_t id, int params);

    std::unique_ptr<ippcFuncData, decltype(&ippcFuncDataDestroy)> handle;
    int next_index = 0;
    int failure = client_ok;
};

// Adds a parameter at an address; null is reported on standard output.
void add_parameter(Request &call, int code, int direction, void *address);

// An argument of an operation as the next parameter.
template <class Argument>
void add(Request &call, Argument argument) {
    constexpr int code = wire::code<Argument>;
    constexpr int direction = wire::direction<Argument>;
    if constexpr (!std::is_pointer_v<Argument>) {
        auto bytes = wire::encode(argument);
        add_parameter(call, code, direction, bytes.data());
    } else if constexpr (direction == IPPC_OUTPUT) {
        static_assert(wire::is_text<Argument> || wire::is_written_as_it_travels<Argument>);
        add_parameter(call, code, direction, argument);
    } else if constexpr (wire::is_text<Argument>) {
        add_parameter(call, code, direction, const_cast<char *>(argument));
    } else if (!argument) {
        add_parameter(call, code, direction, nullptr);
    } else {
        add(call, *argument);
    }
}

// Sends the request. Returns the engine's result, or why there is none.
int ask_engine(Request &call);

// Tells who keeps this process's changes how a call went.
template <bool Changes, class... Arguments>
int told(int result, std::uint32_t id, Arguments... arguments) {
    if (result == client_no_answer) {
        if (observer.unanswered) observer.unanswered(describe_call(id, arguments...));
    } else if (Changes && result == client_ok && observer.made) {
        return observer.made(describe_call(id, arguments...));
    }
    return result;
}

// The whole of a client function: the engine first, then this process's store.
template <auto Client, class... Arguments>
int call(Arguments... arguments) {
    using Row = OperationOf<Client>;
    static_assert(std::is_same_v<int (*)(Arguments...), decltype(Client)>);
    Request sent(Row::id, sizeof...(Arguments));
    (add(sent, arguments), ...);
    int result = ask_engine(sent);
    if constexpr (Row::mirrored)
        if (result == client_ok) result = Row::mirror(arguments...);
    return told<Row::mirrored>(result, Row::id, arguments...);
}

}  // namespace ia
