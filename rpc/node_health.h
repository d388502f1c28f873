// The node's health and counters, for the node's own procedures.
#pragma once

#include "entity/pppoeia.h"
#include "platform/frame_outcomes.h"

#include <array>
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

// The counts of a port's frames: the outcomes that are not 0, and the frames sent
// by the port, by code.
struct PortFrames {
    struct Row {
        const char *word;
        const char *meaning;
        std::uint64_t frames;
    };
    std::vector<Row> outcomes;
    std::array<std::uint64_t, SENT_CODES> sent{};
};

// Returns the engine's result.
int read_port_frames(std::uint32_t port, PortFrames &frames);

// The ports that carry subscribers or face the network, without counters: no OLT
// ports, no ONUs, no GEM ports out of use.
std::vector<PortCounters> read_ports();

// The counters of the bridge and of those ports. False when the engine does not
// answer.
bool read_counters(Counters &counters);

}  // namespace ia
