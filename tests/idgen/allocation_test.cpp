// IDs are built for every subscriber's frame: without allocating.
#include "idgen/selection.h"
#include "tests/idgen/scenario.h"
#include "tests/support/failing_memory.h"

#include <cstdio>

using namespace ia::test;

namespace {

TEST(Allocation, IsNotNeededForTheDefaultIds) {
    pppoeia_bridge bridge("br0", 13);
    fill(bridge);
    receive_frame(bridge, 100, 5);
    bridge.vsa_circuit_id_cvlan = 1;
    bridge.ports[PVC - 1].vsa_circuit_id_mode = PPPOEIA_CID_ATM;
    char out[64] = "";
    std::vector<std::uint8_t> binary;
    const std::size_t before = allocations();
    pppoeia_build_circuit_id(out, &bridge, &bridge.ports[DSL - 1], 100, binary, ID_GEN_FRAME);
    pppoeia_build_circuit_id(out, &bridge, &bridge.ports[PVC - 1], 100, binary, ID_GEN_FRAME);
    EXPECT_EQ(allocations(), before);
    EXPECT_STREQ(out, "KORVALEN:R2-S4 atm 3/2:8.35");
    EXPECT_GT(before, 0U);  // the bridge's own: they are counted
}

// The first frame of a format makes its plan, the second of a line the line's.
TEST(Allocation, IsNotNeededForCustomIdsButTwice) {
    pppoeia_bridge bridge("br0", 13);
    fill(bridge);
    receive_frame(bridge, 100, 5);
    pppoeia_port &port = bridge.ports[GEM - 1];
    port.vsa_circuit_id_mode = PPPOEIA_CID_CUSTOM;
    const LogLevel quiet(6);
    for (const char *format :
         {"$SHELF $z20PORT $d-CLNT_MAC $AGENT_IPV4 $PORT_REM_ID $CPE_SERIAL",
          "line $hVLAN$hCLNT_MAC$hAGENT_IPV4$FFFFFFHEX", "$z-AGENT_IPV6 $hAGENT_IPV6"}) {
        std::snprintf(bridge.cid_format, sizeof bridge.cid_format, "%s", format);
        ++bridge.revision;
        char out[64] = "";
        std::vector<std::uint8_t> binary;
        const auto build = [&] {
            binary.clear();
            pppoeia_build_circuit_id(out, &bridge, &port, 100, binary, ID_GEN_FRAME);
        };
        build();
        build();
        const std::size_t before = allocations();
        build();
        EXPECT_EQ(allocations(), before) << format;
    }
}

}  // namespace
