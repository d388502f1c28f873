// Frames through a running bridge: what goes in, what comes out, what counts.
//
// Every expected byte is worked out by hand. The line under test is port 1,
// "1/1/1" on board 3 of shelf "s1": its Circuit ID for an untagged frame is
// "KORVALEN:s1 eth 3/1/1/1:0", 25 (0x19) characters; its Remote ID is empty.
// So its tag is 4 + 4 + 2 + 25 + 2 = 37 (0x25) bytes, 33 (0x21) behind the header.
#include "tests/fe/running_bridge.h"
#include "tests/support/captured_syslog.h"

#include <algorithm>

using namespace ia::test;

namespace {

struct Case {
    const char *name;
    Record record;
    std::string in;
    std::string out;                                  // empty: dropped
    std::uint32_t pppoeia_stats::*counter = nullptr;  // one of the input port's, else none
    void (*prepare)() = [] {};
};

const Record from_sub{};
const Record from_net{.port = net, .in = "net0", .out = "sub1"};

void trust_sub() {
    cache_pppoeia_port_trust_set(bridge, sub, PPPOEIA_PORT_TRUSTED);
}
void keep_tags() {
    cache_pppoeia_bridge_vsa_mode_set(bridge, PPPOEIA_VSA_KEEP);
}
void sub_state(std::int32_t state) {
    cache_pppoeia_port_state_set(bridge, sub, state);
}

const std::vector<Case> cases = {
    // --- marking
    {"padi appends behind the last tag", from_sub, client + "8863 1109 0000 0004" + service,
     client + "8863 1109 0000 0029" + service + line_tag, &pppoeia_stats::padi},
    {"padr too, session and version untouched", from_sub, client + "8863 2319 1234 0004" + service,
     client + "8863 2319 1234 0029" + service + line_tag, &pppoeia_stats::padr},
    {"padi inserts before end of list", from_sub,
     client + "8863 1109 0000 0008" + service + end_of_list,
     client + "8863 1109 0000 002d" + service + line_tag + end_of_list, &pppoeia_stats::padi},
    {"end of list first", from_sub, client + "8863 1109 0000 0008" + end_of_list + service,
     client + "8863 1109 0000 002d" + line_tag + end_of_list + service, &pppoeia_stats::padi},
    {"empty payload", from_sub, client + "8863 1109 0000 0000",
     client + "8863 1109 0000 0025" + line_tag, &pppoeia_stats::padi},
    {"padding moves behind the tag", from_sub,
     client + "8863 1109 0000 0004" + service + "eeeeeeeeee",
     client + "8863 1109 0000 0029" + service + line_tag + "eeeeeeeeee", &pppoeia_stats::padi},
    {"three stray bytes after the last tag stay behind", from_sub,
     client + "8863 1109 0000 0007" + service + "010300",
     client + "8863 1109 0000 002c" + service + line_tag + "010300", &pppoeia_stats::padi},
    {"one stray byte is a payload of its own", from_sub, client + "8863 1109 0000 0001 01",
     client + "8863 1109 0000 0026" + line_tag + "01", &pppoeia_stats::padi},
    {"a tag fills the frame to its last byte", from_sub,
     client + "8863 1109 0000 000a" + service + "0103 0002 abcd",
     client + "8863 1109 0000 002f" + service + "0103 0002 abcd" + line_tag, &pppoeia_stats::padi},
    {"a later tag that claims one byte too many is not stepped over", from_sub,
     client + "8863 1109 0000 000a" + service + "0103 0003 abcd",
     client + "8863 1109 0000 002f" + service + line_tag + "0103 0003 abcd", &pppoeia_stats::padi},
    {"a first tag past the payload but inside the frame is stepped over", from_sub,
     client + "8863 1109 0000 0004 0103 0002 abcd",
     client + "8863 1109 0000 0029 0103 0002 abcd" + line_tag, &pppoeia_stats::padi},
    {"a first tag past the frame: in front of it", from_sub,
     client + "8863 1109 0000 0004 0103 ffff",
     client + "8863 1109 0000 0029" + line_tag + "0103 ffff", &pppoeia_stats::padi},
    {"binary host-uniq with zeros and a vendor-like value", from_sub,
     client + "8863 1109 0000 000c 0103 0008 0105000800000de9",
     client + "8863 1109 0000 0031 0103 0008 0105000800000de9" + line_tag, &pppoeia_stats::padi},
    {"circuit id only", from_sub, client + "8863 1109 0000 0000",
     client + "8863 1109 0000 0023 0105 001f 00000de9 01 19 'KORVALEN:s1 eth 3/1/1/1:0'",
     &pppoeia_stats::padi, [] { cache_pppoeia_bridge_vsa_insert_remote_id_set(bridge, 0); }},
    {"remote id only", from_sub, client + "8863 1109 0000 0000",
     client + "8863 1109 0000 000a 0105 0006 00000de9 02 00", &pppoeia_stats::padi,
     [] { cache_pppoeia_bridge_vsa_insert_circuit_id_set(bridge, 0); }},
    {"a binary circuit id: 'L', then the client's address", from_sub,
     client + "8863 1109 0000 0000",
     client + "8863 1109 0000 0013 0105 000f 00000de9 01 07 4c020000000001 02 00",
     &pppoeia_stats::padi,
     [] {
         cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, sub, PPPOEIA_CID_CUSTOM);
         cache_pppoeia_circuit_id_format_set(bridge, "L$hCLNT_MAC");
     }},
    {"neither id leaves the vendor alone", from_sub, client + "8863 1109 0000 0000",
     client + "8863 1109 0000 0008 0105 0004 00000de9", &pppoeia_stats::padi,
     [] {
         cache_pppoeia_bridge_vsa_insert_circuit_id_set(bridge, 0);
         cache_pppoeia_bridge_vsa_insert_remote_id_set(bridge, 0);
     }},

    // --- VLAN tags; the ID shows the record's field
    {"0x8100",
     {.vlan = 100},
     client + "8100 6064 8863 1109 0000 0000",
     client + "8100 6064 8863 1109 0000 0027 0105 0023 00000de9 01 1b "
              "'KORVALEN:s1 eth 3/1/1/1:100' 02 00",
     &pppoeia_stats::padi},
    {"0x88a8 over 0x8100",
     {.vlan = 7, .cvlan = 5},
     client + "88a8 0007 8100 0005 8863 1109 0000 0000",
     client + "88a8 0007 8100 0005 8863 1109 0000 0025 0105 0021 00000de9 01 19 "
              "'KORVALEN:s1 eth 3/1/1/1:7' 02 00",
     &pppoeia_stats::padi},
    {"0x8100 over 0x8100",
     {.vlan = 7},
     client + "8100 0007 8100 0005 8863 1109 0000 0000",
     client + "8100 0007 8100 0005 8863 1109 0000 0025 0105 0021 00000de9 01 19 "
              "'KORVALEN:s1 eth 3/1/1/1:7' 02 00",
     &pppoeia_stats::padi},
    {"three tags, the first the service tag",
     {.vlan = 7},
     client + "88a8 0007 8100 0005 8100 0006 8863 1109 0000 0000",
     client + "88a8 0007 8100 0005 8100 0006 8863 1109 0000 0025 0105 0021 00000de9 01 19 "
              "'KORVALEN:s1 eth 3/1/1/1:7' 02 00",
     &pppoeia_stats::padi},
    {"three 0x8100 tags are one too many",
     {.vlan = 7},
     client + "8100 0007 8100 0005 8100 0006 8863 1109 0000 0000",
     ""},
    {"the customer vlan is shown when asked for",
     {.vlan = 7, .cvlan = 5},
     client + "8863 1109 0000 0000",
     client + "8863 1109 0000 0027 0105 0023 00000de9 01 1b 'KORVALEN:s1 eth 3/1/1/1:7:5' 02 00",
     &pppoeia_stats::padi,
     [] { cache_pppoeia_bridge_vsa_circuit_id_cvlan_set(bridge, 1); }},
    {"a vlan that is not enabled passes unmarked by us, uncounted", from_sub,
     client + "8100 0064 8863 1109 0000 0000", client + "8100 0064 8863 1109 0000 0000", nullptr,
     [] { cache_pppoeia_bridge_vlan_set(bridge, 100, 0); }},
    {"the network side needs no enabled vlan", from_net, server + "8100 0064 8863 1107 0000 0000",
     server + "8100 0064 8863 1107 0000 0000", &pppoeia_stats::pado,
     [] { cache_pppoeia_bridge_vlan_set_all(bridge, 0); }},

    // --- a tag that the frame brings along
    {"untrusted port: dropped", from_sub, client + "8863 1109 0000 000a" + other_tag, "",
     &pppoeia_stats::dropped},
    {"trusted port: replaced, stretched", from_sub,
     client + "8863 1109 0000 000e" + other_tag + service,
     client + "8863 1109 0000 0029" + line_tag + service, &pppoeia_stats::padi, trust_sub},
    {"trusted port: replaced at equal size", from_sub,
     client + "8863 1119 0000 0025 0105 0021 00000001 0a 1b 'AAAAAAAAAAAAAAAAAAAAAAAAAAA'",
     client + "8863 1119 0000 0025" + line_tag, &pppoeia_stats::padr, trust_sub},
    {"trusted port: replaced, cut", from_sub,  // 44 bytes become 37
     client +
         "8863 1109 0000 0030 0105 0028 00000de9 "
         "'012345678901234567890123456789012345' " +
         service,
     client + "8863 1109 0000 0029" + line_tag + service, &pppoeia_stats::padi, trust_sub},
    {"a tag behind end of list is not the frame's", from_sub,
     client + "8863 1109 0000 000e" + end_of_list + other_tag,
     client + "8863 1109 0000 0033" + line_tag + end_of_list + other_tag, &pppoeia_stats::padi},
    {"a tag that claims to end past the frame: dropped, counted", from_sub,
     client + "8863 1109 0000 000a 0105 0040 00000de9 01 00", "", &pppoeia_stats::padi, trust_sub},

    // --- removal
    {"pado loses its tag", from_net,
     server + "8863 1107 0000 0016" + service + other_tag + "0102 0004 'bras'",
     server + "8863 1107 0000 000c" + service + "0102 0004 'bras'", &pppoeia_stats::pado},
    {"pads too, before end of list", from_net,
     server + "8863 1165 0007 000e" + other_tag + end_of_list,
     server + "8863 1165 0007 0004" + end_of_list, &pppoeia_stats::pads},
    {"a last tag is cut off with the frame's end", from_net,
     server + "8863 1107 0000 000e" + service + other_tag, server + "8863 1107 0000 0004" + service,
     &pppoeia_stats::pado},
    {"only the first of two tags goes", from_net,
     server + "8863 1107 0000 0018" + other_tag + service + other_tag,
     server + "8863 1107 0000 000e" + service + other_tag, &pppoeia_stats::pado},
    {"no tag to remove", from_net, server + "8863 1107 0000 0004" + service,
     server + "8863 1107 0000 0004" + service, &pppoeia_stats::pado},
    {"kept when the bridge keeps tags", from_net,
     server + "8863 1107 0000 000e" + service + other_tag,
     server + "8863 1107 0000 000e" + service + other_tag, &pppoeia_stats::pado, keep_tags},
    {"kept also when it ends past the frame", from_net,
     server + "8863 1107 0000 0008 0105 0100 00000de9",
     server + "8863 1107 0000 0008 0105 0100 00000de9", &pppoeia_stats::pado, keep_tags},
    {"a tag past the frame: dropped, counted", from_net,
     server + "8863 1107 0000 0008 0105 0100 00000de9", "", &pppoeia_stats::pado},

    // --- roles
    {"client only: pado", from_sub, client + "8863 1107 0000 0000", "", &pppoeia_stats::dropped},
    {"client only: unknown code", from_sub, client + "8863 110a 0000 0000", "",
     &pppoeia_stats::dropped},
    {"client only: padt", from_sub, client + "8863 11a7 0009 0000", client + "8863 11a7 0009 0000",
     &pppoeia_stats::padt},
    {"server only: padi", from_sub, client + "8863 1109 0000 0000", "", &pppoeia_stats::dropped,
     [] { sub_state(PPPOEIA_PORT_SERVER); }},
    {"server only: pads", from_sub, client + "8863 1165 0000 0000", client + "8863 1165 0000 0000",
     &pppoeia_stats::pads, [] { sub_state(PPPOEIA_PORT_SERVER); }},
    {"both: unknown code", from_sub, client + "8863 110a 0000 0004" + service,
     client + "8863 110a 0000 0004" + service, &pppoeia_stats::unknown_code,
     [] { sub_state(PPPOEIA_PORT_BOTH); }},
    {"disabled: unchanged", from_sub, client + "8863 1109 0000 0004" + service,
     client + "8863 1109 0000 0004" + service, &pppoeia_stats::bypassed,
     [] { sub_state(PPPOEIA_PORT_DISABLED); }},
    {"disabled bridge: anything, unchanged and uncounted",
     {.port = 99},
     "0102030405",
     "0102030405",
     nullptr,
     [] { cache_pppoeia_bridge_state_set(bridge, 0); }},

    // --- what is not a Discovery frame of this bridge
    {"payload one byte past the frame", from_sub, client + "8863 1109 0000 0005" + service, "",
     &pppoeia_stats::truncated},
    {"pppoe header cut by the frame's end", from_sub, client + "8863 1109", "",
     &pppoeia_stats::truncated},
    {"session frame", from_sub, client + "8864 1100 0001 0000", ""},
    {"port that is not there", {.port = 3}, client + "8863 1109 0000 0000", ""},
    {"port 0", {.port = 0}, client + "8863 1109 0000 0000", ""},
    {"port index equal to the number of slots", {.port = 8}, client + "8863 1109 0000 0000", ""},
    {"no frame behind the record", from_sub, "", ""},
};

class DiscoveryCase : public RunningBridge, public testing::WithParamInterface<std::size_t> {};

TEST_P(DiscoveryCase, GivesTheFrameAndTheCount) {
    const Case &c = cases[GetParam()];
    SCOPED_TRACE(c.name);
    c.prepare();
    const Bytes out = exchange(datagram(c.record, hex(c.in)));
    const Bytes expected = c.out.empty() ? Bytes{} : datagram(c.record, hex(c.out));
    EXPECT_EQ(to_hex(out), to_hex(expected));

    pppoeia_stats counted{};
    if (c.counter) counted.*c.counter = 1;
    if (c.record.port == net) ++(counted.padt);  // the sentinel
    if (c.record.port == sub || c.record.port == net) {
        const pppoeia_stats stats = port_stats(c.record.port);
        EXPECT_EQ(std::memcmp(&stats, &counted, sizeof stats), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Frames, DiscoveryCase, testing::Range(std::size_t{0}, cases.size()));

// What stands behind an empty payload is looked at once, and so said.
TEST_F(RunningBridge, TracesTheEndOfAnEmptyPayload) {
    const LogLevel everything(7);
    exchange(datagram(from_net, hex(server + "8863 11a7 0001 0000" + service)));
    EXPECT_TRUE(traced("<br0>        SRV_NAME (0x0101), 0 (0x0000) bytes."));
    const auto written = traces();
    EXPECT_TRUE(std::ranges::any_of(written, [](const std::string &line) {
        return line.starts_with("<br0>          Past PPPoE end: 0x");
    }));
}

}  // namespace
