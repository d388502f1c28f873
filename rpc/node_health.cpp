#include "rpc/node_health.h"

#include "client/health.h"
#include "pppoeia/client.h"

namespace ia {

namespace {

const std::time_t process_start = std::time(nullptr);

constexpr int engine_did_not_answer = 4;

}  // namespace

Health read_health() {
    pppoeia_stats unused{};
    const int asked = pppoeia_bridge_stats_get(pppoeia::m_default_bridge_name, &unused);
    return {asked != engine_did_not_answer, health.engine_starts, health.ippc_failures,
            process_start};
}

const char *build_compiler() {
#if defined(__clang__)
    return "clang " __clang_version__;
#else
    return "gcc " __VERSION__;
#endif
}

bool read_counters(Counters &counters) {
    const pppoeia &agent = pppoeia::instance();
    if (agent.getGlobalStatistics(counters.bridge) != 0) return false;
    std::list<pppoeia::interfaceInfo_t> infos;
    if (agent.getInterfaceInfo(infos, true) != 0) return false;
    for (const pppoeia::interfaceInfo_t &info : infos) {
        PortCounters port{info.ifIndex, info.name, info.type, {}};
        if (agent.getInterfaceStatistics(info.ifIndex, port.stats) != 0) return false;
        counters.ports.push_back(port);
    }
    return true;
}

}  // namespace ia
