// Custom IDs from any format, for a line whose data the input chooses.
//
// Properties: an ID keeps its limits; a format without macro names gives itself,
// cut; both builders write at most 63 characters and a terminator; a format's plan
// gives the same ID as genCustomId.
#include "fuzz/check.h"
#include "idgen/assembly.h"
#include "idgen/id_memory.h"
#include "idgen/selection.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t parent = 1;
constexpr std::uint32_t line = 2;

template <std::size_t Size>
void fill(char (&field)[Size], FuzzedDataProvider &input) {
    const std::string text = input.ConsumeRandomLengthString(Size - 1);
    std::memcpy(field, text.data(), text.size());
    field[text.size()] = '\0';
}

void make_port(pppoeia_port &port, std::uint32_t id, FuzzedDataProvider &input) {
    port.port_id = id;
    std::strcpy(port.dev_name, "dev");
    fill(port.port_name, input);
    fill(port.intf_type, input);
    fill(port.remote_id, input);
    fill(port.cpe_serial, input);
    port.intf_kind = input.ConsumeIntegralInRange<std::uint32_t>(0, 9);
    port.parent_id = input.ConsumeIntegralInRange<std::uint32_t>(0, 4);
    port.vpi = input.ConsumeIntegral<std::uint32_t>();
    port.location.port = input.ConsumeIntegral<std::uint32_t>();
    port.location.panel_validity = input.ConsumeBool();
    std::memset(port.location.panel, 'p', sizeof port.location.panel);
}

void make_bridge(pppoeia_bridge &bridge, FuzzedDataProvider &input) {
    make_port(bridge.ports[parent - 1], parent, input);
    make_port(bridge.ports[line - 1], line, input);
    fill(bridge.shelf_id, input);
    fill(bridge.contact, input);
    bridge.chassis_id = input.ConsumeIntegral<std::uint32_t>();
    if (input.ConsumeBool()) {
        ia::FrameValues &frame = bridge.frame.emplace();
        frame.vlan = input.ConsumeIntegral<std::uint16_t>();
        frame.cvlan = input.ConsumeIntegral<std::uint16_t>();
        for (std::uint8_t &byte : frame.client.bytes) byte = input.ConsumeIntegral<std::uint8_t>();
    }
}

bool names_a_macro(const std::string &format) {
    for (const ia::MacroRule &rule : ia::macro_rules())
        if (format.find(rule.name) != std::string::npos) return true;
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    pppoeia_bridge bridge("br0", 4);
    make_bridge(bridge, input);
    const auto vid = input.ConsumeIntegral<std::uint16_t>();
    const auto cvid = input.ConsumeIntegral<std::uint16_t>();
    const auto type = static_cast<idGenType>(input.ConsumeIntegralInRange<std::uint32_t>(0, 2));
    pppoeia_port &port = bridge.ports[line - 1];
    port.vsa_circuit_id_mode = PPPOEIA_CID_CUSTOM;
    fill(bridge.rid_format, input);
    fill(bridge.cid_format, input);
    const std::string format = input.ConsumeRemainingBytesAsString();

    std::string id;
    std::vector<std::uint8_t> binary;
    MUST(genCustomId(&bridge, line, vid, cvid, format, id, binary, type));
    MUST(binary.size() <= 63);
    MUST(!binary.empty() || id.size() <= 63);
    if (!names_a_macro(format)) MUST(binary.empty() && id == format.substr(0, 63));

    char out[64];
    if (type == ID_GEN_FRAME && format.find('\0') == std::string::npos) {
        bridge.revision = 1;
        ia::IdMemory memory;
        ia::LineSlot kept;
        const ia::subscriber who = ia::subscriber_of(bridge, line, vid, cvid, type);
        const ia::FormatPlan *plan = ia::plan_of(memory, format.c_str());
        ia::begin_line(kept, who, plan);
        for (const ia::FormatPlan *run : {plan, folded_plan(*current_line(kept, who), who)}) {
            std::vector<std::uint8_t> planned;
            ia::run_plan(run, who, out, planned);
            MUST(planned == binary);
            MUST(out == std::string(id.substr(0, 63).c_str()));
        }
    }
    std::memset(out, '!', sizeof out);
    binary.clear();
    pppoeia_build_circuit_id(out, &bridge, &port, vid, binary, type);
    MUST(std::memchr(out, '\0', sizeof out) && binary.size() <= 63);
    std::memset(out, '!', sizeof out);
    binary.clear();
    pppoeia_build_remote_id(out, &bridge, &port, vid, binary, type);
    MUST(std::memchr(out, '\0', sizeof out) && binary.size() <= 63);
    return 0;
}
