// The loaded "pppoe" filter: its programs, their maps, and where they hang.
#pragma once

#include "node/kernel/filter_maps.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

struct filter_bpf;

namespace ia::node {

// A place for a program: a direction of a device.
enum class Hook {
    port_in,     // a frame enters by a bridge port
    port_out,    // a frame is about to leave by a bridge port
    pseudo_out,  // the engine sends on the pseudo device
};

struct Attachment {
    bool qdisc = false;       // the device's clsact qdisc was made for it
    bool taken_over = false;  // it took the place of an earlier run's
};

// Owns the programs and maps. What is attached stays attached when this object
// goes: frames are then held. Calls may come from any thread, one at a time;
// errors are std::system_error and name the device.
class Filter {
public:
    Filter();
    ~Filter();

    // Puts the program in place, over one of an earlier run without a moment
    // between them.
    Attachment attach(Hook hook, int device, const std::string &name);

    // Takes the programs off; the qdisc too when `with_qdisc` and nobody else
    // uses it. Silent when the device is gone.
    static void detach(int device, bool with_qdisc);

    // Whether a program of this object is in place there.
    bool attached(Hook hook, int device) const;

    // Whether a program of ours, of this run or an earlier one, is in place.
    static bool attached_by_anyone(Hook hook, int device);

    void set_tag_type(std::uint16_t ethertype);  // read as a VLAN tag from now on

    void set_bridge(std::uint32_t number, const filter_bridge &bridge);
    void set_port(int device, const filter_port &port);
    void clear_port(int device);
    void set_pseudo(int device, std::uint32_t bridge);
    void clear_pseudo(int device);
    void set_output(const std::string &name, const filter_output &output);
    void clear_output(const std::string &name);
    void set_slot(const filter_port &port, int device);  // 0 frees it

    // Discovery frames since construction, by outcome.
    std::array<std::uint64_t, OUTCOME_COUNT> outcomes() const;

private:
    struct Unload {
        void operator()(filter_bpf *programs) const;
    };
    std::unique_ptr<filter_bpf, Unload> programs_;
};

}  // namespace ia::node
