// What the node's own procedures tell about the processes and their counters.
#pragma once

#include "entity/pppoeia.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace ia {

struct Health {
    bool engine_answers;
    std::uint32_t engine_restarts;
    std::uint32_t ippc_failures;
    std::time_t started;  // of this process
};

Health read_health();

// The compiler's name and version.
const char *build_compiler();

struct PortCounters {
    std::uint32_t number;
    std::string name;
    std::uint32_t type;
    pppoeia_stats stats;
};

struct Counters {
    pppoeia_stats bridge{};
    std::vector<PortCounters> ports;  // ascending numbers
};

// The ports that carry subscribers or face the network, counters not read: no
// OLT ports, ONUs and GEM ports that are not in use.
std::vector<PortCounters> read_ports();

// The counters of the bridge and of those ports. False when the engine does not
// answer.
bool read_counters(Counters &counters);

}  // namespace ia
