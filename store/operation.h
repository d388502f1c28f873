// The steps that all operations on a bridge or a port have in common: find the
// bridge, hold its lock during the work, trace the outcome.
//
// The work returns the operation's result. Refusals (negative) trace their own
// line; every other result is traced as "operation()=result" once the lock is
// released.
#pragma once

#include "fe/base/trace.h"
#include "store/bridge.h"
#include "store/bridge_list.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ia {

// work(pppoeia_bridge &)
template <class Work>
int on_bridge(const char *operation, const char *bridge, Work work) {
    int result;
    {
        const LockedBridge found(bridge);
        if (!found) return refuse(operation, -ENOENT);
        result = work(*found);
    }
    return result < 0 ? result : trace_result(operation, result);
}

// work(pppoeia_bridge &, pppoeia_port &), on an existing port.
template <class Work>
int on_port(const char *operation, const char *bridge, std::uint32_t id, Work work,
            int refusal_level = 7) {
    return on_bridge(operation, bridge, [&](pppoeia_bridge &found) {
        pppoeia_port *port = found.port(id);
        if (!port) return refuse_port(operation, id, refusal_level);
        return work(found, *port);
    });
}

// Reads a text of the bridge; `out` takes the whole field.
template <std::size_t Size>
int get_text(const char *operation, const char *bridge, char (pppoeia_bridge::*field)[Size],
             char *out) {
    trace_call(operation, bridge);
    return on_bridge(operation, bridge, [&](pppoeia_bridge &b) {
        std::memcpy(out, b.*field, Size);
        return 0;
    });
}

}  // namespace ia
