// Counters of bridges and ports.
#include "pppoeia/fe.h"
#include "store/operation.h"

using namespace ia;

int fe_pppoeia_bridge_stats_get(const char *bridge, pppoeia_stats *out) {
    trace_call(__func__, bridge);
    return on_bridge(__func__, bridge, [&](pppoeia_bridge &b) {
        *out = b.stats;
        return 0;
    });
}

int fe_pppoeia_bridge_stats_reset(const char *bridge) {
    trace_call(__func__, bridge);
    return on_bridge(__func__, bridge, [](pppoeia_bridge &b) {
        b.stats = {};
        return 0;
    });
}

int fe_pppoeia_port_stats_get(const char *bridge, std::uint32_t port, pppoeia_stats *out) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [&](pppoeia_bridge &, pppoeia_port &p) {
        *out = p.stats;
        return 0;
    });
}

int fe_pppoeia_port_stats_reset(const char *bridge, std::uint32_t port) {
    trace_call(__func__, bridge, port);
    return on_port(__func__, bridge, port, [](pppoeia_bridge &, pppoeia_port &p) {
        p.stats = {};
        return 0;
    });
}
