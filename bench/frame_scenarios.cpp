#include "bench/frame_scenarios.h"

#include "bench/line.h"
#include "fe/discovery.h"
#include "fe/frame.h"
#include "fe/lines.h"
#include "idgen/assembly.h"
#include "idgen/id_memory.h"
#include "pppoeia/pppoeia.h"
#include "store/bridge_list.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ia::bench {

namespace {

using ia::test::hex;

void check(bool right, const char *what) {
    if (!right) throw std::runtime_error(std::string(what) + " is not what it should be");
}

// Six macros each, all with a value.
constexpr char binary_circuit_id[] = "$hCHASSIS$hAGENT_BOARD$hPORT$hVLAN$hCVID$hCLNT_MAC";
constexpr char binary_remote_id[] = "$hCLNT_MAC$hz2VLAN$hPORT$hAGENT_BOARD$hz4CHASSIS$SHELF";

constexpr char binary_circuit_id_made[] = "07 03 01 64 05 020000000001";
constexpr char binary_remote_id_made[] = "020000000001 0064 01 03 00000007 's1'";

// The record of a running bridge without its worker.
BridgePtr make_bridge(std::uint32_t slots = 8) {
    static int made = 0;
    const std::string name = "br" + std::to_string(made++);
    const auto bridge = std::make_shared<pppoeia_bridge>(name, slots);
    bridge->mtu = 1615;
    bridge->stag_ethertype_nf = 0x88A8;
    bridge->lines = make_owned<LineBook>(slots);
    bridge_list_link(bridge);
    set_up_line(name.c_str());
    return bridge;
}

// The same datagram again and again. Before each frame the buffer is restored as
// far as the previous frame changed it.
struct FrameLoop {
    BridgePtr bridge;
    FrameIds ids;
    Bytes received;
    std::size_t length = 0;
    Datagram datagram;
    Outcome (*process)(pppoeia_bridge &, Datagram &, FrameIds &) = process_frame;

    explicit FrameLoop(const Bytes &of, std::uint32_t slots = 8)
        : bridge(make_bridge(slots)), received(of), length(of.size()) {
        received.resize(length + 128);
        datagram.bytes.resize(bridge->mtu + ethernet_start + frame_slack);
    }

    Outcome one() {
        std::ranges::copy(received, datagram.bytes.begin());
        datagram.end = length;
        ids.circuit_id.clear();
        ids.remote_id.clear();
        return process(*bridge, datagram, ids);
    }

    void operator()(std::size_t frames) {
        for (; frames > 0; --frames) one();
    }

    void expect(const Bytes &frame) {
        check(one() == Outcome::forwarded, "the outcome");
        const auto begin = datagram.bytes.begin();
        check(Bytes(begin + ethernet_start, begin + static_cast<long>(datagram.end)) == frame,
              "the frame");
    }
};

Work restoring() {
    FrameLoop loop(padi_datagram());
    loop.process = [](pppoeia_bridge &, Datagram &, FrameIds &) { return Outcome::forwarded; };
    return loop;
}

Work padi() {
    FrameLoop loop(padi_datagram());
    loop.expect(marked_padi(default_tag()));
    return loop;
}

Work pado() {
    FrameLoop loop(pado_datagram());
    loop.expect(cleaned_pado());
    return loop;
}

Work custom_padi(const char *circuit_id, const char *remote_id, const Bytes &tag) {
    FrameLoop loop(padi_datagram());
    use_formats(loop.bridge->name, circuit_id, remote_id);
    loop.expect(marked_padi(tag));
    return loop;
}

Work padi_text() {
    return custom_padi(text_circuit_id, text_remote_id, text_tag());
}

constexpr std::uint32_t many = 4000;

Work padi_of_many_ports() {
    FrameLoop loop(padi_datagram(), many + 2);
    for (std::uint32_t id = 3; id <= many; ++id) {
        const std::string name = "1/2/" + std::to_string(id);
        const pppoeia_port_info info{};
        check(cache_pppoeia_port_add(loop.bridge->name, id, name.c_str(), name.c_str(), &info) == 0,
              "a port");
    }
    use_formats(loop.bridge->name, text_circuit_id, text_remote_id);
    loop.expect(marked_padi(text_tag()));
    return loop;
}

Work padi_of_many_port_vlans() {
    FrameLoop loop(padi_datagram());
    for (std::uint16_t vid = 1; vid <= many; ++vid)
        check(cache_pppoeia_circuit_id_mode_port_vlan_set(loop.bridge->name, 1, vid,
                                                          PPPOEIA_CID_CUSTOM) == 0,
              "a mode of a port's VLAN");
    use_formats(loop.bridge->name, text_circuit_id, text_remote_id);
    loop.expect(marked_padi(text_tag()));
    return loop;
}

Work padi_beside_many_bridges() {
    struct Many {
        std::vector<FrameLoop> others;
        FrameLoop loop{padi_datagram()};
        void operator()(std::size_t frames) { loop(frames); }
    };
    auto all = std::make_shared<Many>();
    for (int i = 1; i < 200; ++i) all->others.emplace_back(padi_datagram());
    use_formats(all->loop.bridge->name, text_circuit_id, text_remote_id);
    all->loop.expect(marked_padi(text_tag()));
    return [all](std::size_t frames) { (*all)(frames); };
}

Work padi_binary() {
    return custom_padi(binary_circuit_id, binary_remote_id,
                       vendor_tag(hex(binary_circuit_id_made), hex(binary_remote_id_made)));
}

// A line whose client has just sent a PADI, and its Circuit ID: by the format's
// plan, as for a frame, and step by step.
struct PlanLoop {
    FrameLoop line{padi_datagram()};
    const char *format;
    Bytes text = Bytes(PPPOEIA_ID_SIZE);
    Bytes binary;

    explicit PlanLoop(const char *wanted) : format(wanted) { line.one(); }

    void operator()(std::size_t frames) {
        IdMemory &memory = memory_of(*line.bridge);
        for (; frames > 0; --frames) {
            binary.clear();
            const subscriber who = subscriber_of(*line.bridge, 1, 100, 5, ID_GEN_FRAME);
            run_plan(plan_of(memory, format), who, reinterpret_cast<char *>(text.data()), binary);
        }
    }
};

Work plan_text() {
    PlanLoop loop(text_circuit_id);
    loop(1);
    check(reinterpret_cast<char *>(loop.text.data()) == std::string(text_circuit_id_made) &&
              loop.binary.empty(),
          "the planned text ID");
    return loop;
}

Work plan_binary() {
    PlanLoop loop(binary_circuit_id);
    loop(1);
    check(loop.binary == hex(binary_circuit_id_made), "the planned binary ID");
    return loop;
}

struct IdLoop {
    FrameLoop line{padi_datagram()};
    std::string format;
    std::string id;
    Bytes binary;

    explicit IdLoop(const char *wanted) : format(wanted) { line.one(); }

    void operator()(std::size_t frames) {
        for (; frames > 0; --frames) {
            id.clear();
            binary.clear();
            genCustomId(line.bridge.get(), 1, 100, 5, format, id, binary, ID_GEN_FRAME);
        }
    }
};

Work id_text() {
    IdLoop loop(text_circuit_id);
    loop(1);
    check(loop.id == text_circuit_id_made && loop.binary.empty(), "the text ID");
    return loop;
}

Work id_binary() {
    IdLoop loop(binary_circuit_id);
    loop(1);
    check(loop.binary == hex(binary_circuit_id_made), "the binary ID");
    return loop;
}

// The text Circuit ID as one would code it for this line alone.
struct ByHand {
    FrameLoop line{padi_datagram()};
    Bytes text = Bytes(PPPOEIA_ID_SIZE);

    ByHand() { line.one(); }

    void operator()(std::size_t frames) {
        const pppoeia_bridge &bridge = *line.bridge;
        const std::uint8_t *mac = bridge.frame->client.bytes;
        for (; frames > 0; --frames)
            std::snprintf(reinterpret_cast<char *>(text.data()), text.size(),
                          "%s/%u/%u/%u:%u %02X:%02X:%02X:%02X:%02X:%02X", bridge.shelf_id,
                          bridge.chassis_id, bridge.board_pos, bridge.ports[0].location.port, 100U,
                          mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    }
};

Work id_by_hand() {
    ByHand loop;
    loop(1);
    check(reinterpret_cast<char *>(loop.text.data()) == std::string(text_circuit_id_made),
          "the text by hand");
    return loop;
}

constexpr Target no_allocation{Target::at_most, 0};
constexpr Scenario all_scenarios[] = {
    {"restore", "restoring the buffer (in the four below)", restoring, {}},
    {"padi", "PADI marked, default forms", padi, no_allocation},
    {"pado", "PADO, tag removed", pado, no_allocation},
    {"padi_text", "PADI marked, custom text IDs (6+6 macros)", padi_text, no_allocation},
    {"padi_binary", "PADI marked, custom binary IDs (6+6 macros)", padi_binary, no_allocation},
    {"many_ports", "text IDs, one of 4,000 ports", padi_of_many_ports, no_allocation},
    {"many_port_vlans", "text IDs, a port of 4,000 VLANs", padi_of_many_port_vlans, no_allocation},
    {"many_bridges", "text IDs, one of 200 bridges", padi_beside_many_bridges, no_allocation},
    {"plan_text", "custom ID alone, text, 6 macros", plan_text, no_allocation},
    {"plan_binary", "custom ID alone, binary, 6 macros", plan_binary, no_allocation},
    {"id_text", "the same text step by step", id_text, {}},
    {"id_binary", "the same binary step by step", id_binary, {}},
    {"id_by_hand", "the text ID by one snprintf", id_by_hand, {}},
};

}  // namespace

std::span<const Scenario> scenarios() {
    static const bool listed = bridge_list_create();
    check(listed, "the bridge list");
    return all_scenarios;
}

}  // namespace ia::bench
