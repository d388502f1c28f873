// The bytes of every shape of type that the RPC program exchanges.
#include "rpc/pppoeia.h"
#include "tests/support/datagrams.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using ia::test::Bytes, ia::test::hex, ia::test::operator+;

// A fixed array of characters: each takes four bytes, the last of which counts.
Bytes characters(std::size_t count, const std::string &text) {
    Bytes bytes(4 * count);
    for (std::size_t at = 0; at < text.size(); ++at)
        bytes[4 * at + 3] = static_cast<unsigned char>(text[at]);
    return bytes;
}

template <class T>
Bytes encode(bool_t (*routine)(XDR *, T *), std::type_identity_t<T> value) {
    Bytes bytes(4096);
    XDR stream;
    xdrmem_create(&stream, reinterpret_cast<char *>(bytes.data()), static_cast<u_int>(bytes.size()),
                  XDR_ENCODE);
    EXPECT_TRUE(routine(&stream, &value));
    bytes.resize(xdr_getpos(&stream));
    return bytes;
}

// Decodes exactly the bytes; the caller frees what the value points to.
template <class T>
T decode(bool_t (*routine)(XDR *, T *), Bytes bytes) {
    T value{};
    XDR stream;
    xdrmem_create(&stream, reinterpret_cast<char *>(bytes.data()), static_cast<u_int>(bytes.size()),
                  XDR_DECODE);
    EXPECT_TRUE(routine(&stream, &value));
    EXPECT_EQ(xdr_getpos(&stream), bytes.size());
    return value;
}

char west[] = "west 7";
char empty[] = "";
char port_name[] = "1/1/1";
char circuit_id[] = "KORVALEN:NONE";

const rpcPppoeiaIntfInfo interface = {
    port_name, 5,          RPC_PPPOEIA_INTERFACE_BOTH, RPC_PPPOEIA_INTERFACE_UNTRUSTED,
    empty,     circuit_id, RPC_PPPOEIA_CID_CUSTOM};
const Bytes interface_bytes =
    hex("00000005 312f312f 31000000 "                    // "1/1/1", padded
        "00000005 00000003 00000001 "                    // type, state, mode
        "00000000 "                                      // ""
        "0000000d 4b4f5256 414c454e 3a4e4f4e 45000000 "  // "KORVALEN:NONE", padded
        "00000002");                                     // Circuit-ID mode

const rpcPppoeiaPortVlanInfo port_vlan = {258, 4095, RPC_PPPOEIA_CID_ATM, "$PORT", ""};
const Bytes port_vlan_bytes =
    hex("00000102 00000fff 00000001") + characters(129, "$PORT") + characters(129, "");

struct Encoded {
    const char *name;
    Bytes got, expected;
};

TEST(RpcWireTypes, AnswersAndArguments) {
    rpcPppoeiaIntfInfo two_ports[] = {interface, interface};
    rpcPppoeiaVlanInfo two_vlans[] = {{100, 1}, {4095, 0}};
    rpcPppoeiaPortVlanInfo one_line[] = {port_vlan};
    const Encoded rows[] = {
        {"settings, their result in the middle",
         encode(xdr_rpcResultPppoeiaInfo,
                {1, RPC_PPPOEIA_VSA_REMOVE, 1, 0, 1, west, RPC_PPPOEIA_LOG_SILENT,
                 RPC_PPPOEIA_FAILURE, 1, "ab", "$PORT_REM_ID"}),
         hex("00000001 00000001 00000001 00000000 00000001 00000006 77657374 20370000 "
             "ffffffff 00000001 00000001") +
             characters(129, "ab") + characters(129, "$PORT_REM_ID")},
        {"ports", encode(xdr_rpcResultPppoeiaIntfInfoList, {{2, two_ports}, RPC_PPPOEIA_SUCCESS}),
         hex("00000002") + interface_bytes + interface_bytes + hex("00000000")},
        {"no ports", encode(xdr_rpcResultPppoeiaIntfInfoList, {{0, nullptr}, RPC_PPPOEIA_FAILURE}),
         hex("00000000 00000001")},
        {"VLANs", encode(xdr_rpcResultPppoeiaVlanInfoList, {{2, two_vlans}, RPC_PPPOEIA_NOT_FOUND}),
         hex("00000002 00000064 00000001 00000fff 00000000 00000002")},
        {"lines, their formats whole",
         encode(xdr_rpcResultPppoeiaPortVlanInfoList, {{1, one_line}, RPC_PPPOEIA_SUCCESS}),
         hex("00000001") + port_vlan_bytes + hex("00000000")},
        {"counters",
         encode(xdr_rpcResultPppoeiaStat,
                {{1, 2, 3, 4, 5, 6, 7, 0xFFFFFFFF}, RPC_PPPOEIA_PROFILE_MODE}),
         hex("00000001 00000002 00000003 00000004 00000005 00000006 00000007 ffffffff 0000000a")},
        {"a mode",
         encode(xdr_rpcResultPppoeiaCircuitIdMode, {RPC_PPPOEIA_CID_ATM, RPC_PPPOEIA_SUCCESS}),
         hex("00000001 00000000")},
        {"an ID", encode(xdr_rpcResultPppoeiaSuboptionResult, {"KORV", RPC_PPPOEIA_SUCCESS}),
         characters(256, "KORV") + hex("00000000")},
        {"a port's role",
         encode(xdr_rpc_pppoeia_set_interface_state_1_argument, {7, RPC_PPPOEIA_INTERFACE_SERVER}),
         hex("00000007 00000002")},
        {"a port's Remote ID", encode(xdr_rpc_pppoeia_set_remoteid_1_argument, {7, west}),
         hex("00000007 00000006 77657374 20370000")},
        {"a line's mode",
         encode(xdr_rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_argument,
                {7, 100, RPC_PPPOEIA_CID_CUSTOM}),
         hex("00000007 00000064 00000002")},
    };
    for (const auto &[name, got, expected] : rows) EXPECT_EQ(got, expected) << name;
}

TEST(RpcWireTypes, DecodesWhatAnotherProcessSends) {
    const auto vlan_state =
        decode(xdr_rpc_pppoeia_set_vlan_state_1_argument, hex("00010064 00000001"));
    EXPECT_EQ(vlan_state.vlanId, 0x10064U) << "not cut to 16 bits";
    EXPECT_EQ(vlan_state.state, 1);

    auto info = decode(xdr_rpcResultPppoeiaIntfInfo, interface_bytes + hex("00000002"));
    EXPECT_STREQ(info.info.name, "1/1/1");
    EXPECT_EQ(info.info.type, 5);
    EXPECT_STREQ(info.info.remoteId, "");
    EXPECT_STREQ(info.info.circuitId, "KORVALEN:NONE");
    EXPECT_EQ(info.result, RPC_PPPOEIA_NOT_FOUND);
    xdr_free(reinterpret_cast<xdrproc_t>(xdr_rpcResultPppoeiaIntfInfo), &info);
    EXPECT_EQ(info.info.name, nullptr);

    const auto entry = decode(xdr_rpcPppoeiaPortVlanInfo, port_vlan_bytes);
    EXPECT_EQ(entry.vlanId, 4095);
    EXPECT_STREQ(entry.cidFormat, "$PORT");
}

}  // namespace
