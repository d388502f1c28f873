// The loaded "pppoe" filter: its programs, their maps, and where they are attached.
#pragma once

#include "node/kernel/filter_maps.h"
#include "node/kernel/places.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct filter_bpf;

namespace ia::node {

// Owns the programs and maps. Attached programs stay attached after this object's
// end, and hold their frames. Calls may come from any thread, one at a time; errors
// are std::system_error and name the device.
class Filter {
public:
    Filter();
    ~Filter();

    // Attaches the program, replacing one of an earlier run without a gap.
    Attachment attach(Hook hook, int device, const std::string &name);

    // Whether the program is attached and runs first.
    bool attached(Hook hook, int device);

    Places &places() { return places_; }

    void set_tag_type(std::uint16_t ethertype);  // read as a VLAN tag from now on

    void set_bridge(std::uint32_t number, const filter_bridge &bridge);
    void set_port(int device, const filter_port &port);
    void clear_port(int device);
    void set_pseudo(int device, std::uint32_t bridge);
    void clear_pseudo(int device);
    void set_output(const std::string &name, const filter_output &output);
    void clear_output(const std::string &name);
    void set_slot(const filter_port &port, int device);  // 0 frees it

    // Sets the number of addresses that each port of a role may learn. Places are
    // numbered so that the shares of all ports fit into the role's part of
    // FILTER_STATIONS.
    void set_station_share(std::uint32_t role, std::uint32_t cells);

    // Starts a device's counts at zero; before that, nothing is counted.
    void begin_counts(int device);
    void end_counts(int device);
    frame_counts counts(int device) const;  // zeros when there are none

    // Sets the servers that may answer on a bridge; forgets those that were allowed
    // as the first.
    void set_servers(std::uint32_t bridge, const std::vector<std::array<std::uint8_t, 6>> &listed);

    int descriptor(Hook hook) const;  // of the program; this object's

    // Discovery frames since construction, by outcome.
    std::array<std::uint64_t, OUTCOME_COUNT> outcomes() const;

private:
    struct Unload {
        void operator()(filter_bpf *programs) const;
    };
    Program program(Hook hook) const;

    std::unique_ptr<filter_bpf, Unload> programs_;
    std::array<std::uint32_t, 3> ids_{};  // of the programs, by hook
    Places places_;
};

}  // namespace ia::node
