#include "rpc/node_health.h"

#include "client/health.h"
#include "platform/bll/configFile.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"

#include <algorithm>
#include <list>

namespace ia {

namespace {

const std::time_t process_start = std::time(nullptr);

}  // namespace

Health read_health() {
    pppoeia_stats unused{};
    const int asked = pppoeia_bridge_stats_get(default_bridge, &unused);
    configFile::status_t kept{};
    if (const auto &status = configFile::instance().status) status(kept);
    return {asked != client_no_answer, kept.restores, health.ippc_failures, process_start};
}

const char *build_compiler() {
#if defined(__clang__)
    return "clang " __clang_version__;
#else
    return "gcc " __VERSION__;
#endif
}

int read_port_frames(std::uint32_t port, PortFrames &frames) {
    struct Outcome {
        const char *word, *meaning;
    };
    static constexpr Outcome known[] = {
#define ROW(name, word, meaning) {word, meaning},
        FRAME_OUTCOMES(ROW)
#undef ROW
    };
    PortFramesBlock block{};
    if (const int result = port_frames(default_bridge, port, &block); result != 0) return result;
    frames.outcomes.clear();
    for (std::size_t i = 0; i < std::size(known); ++i)
        if (block.outcomes[i] != 0)
            frames.outcomes.push_back({known[i].word, known[i].meaning, block.outcomes[i]});
    std::ranges::copy(block.sent, frames.sent.begin());
    return 0;
}

std::vector<PortCounters> read_ports() {
    std::list<Interfaces::Interface> known;
    Interfaces::instance().interfaceListGet(known);
    std::vector<PortCounters> ports;
    for (const Interfaces::Interface &interface : known) {
        const bool idle_gem =
            interface.type == Interfaces::interfaceTypeGem && interface.gemInUse == 0;
        if (interface.type == Interfaces::interfaceTypeOlt ||
            interface.type == Interfaces::interfaceTypeOnu || idle_gem)
            continue;
        ports.push_back({interface.id, interface.name, interface.type, {}});
    }
    return ports;
}

bool read_counters(Counters &counters) {
    const pppoeia &agent = pppoeia::instance();
    if (agent.getGlobalStatistics(counters.bridge) != 0) return false;
    counters.ports = read_ports();
    return std::ranges::all_of(counters.ports, [&](PortCounters &port) {
        return agent.getInterfaceStatistics(port.number, port.stats) == 0;
    });
}

}  // namespace ia
