// The bytes of every shape of type that the RPC program exchanges.
#include "rpc/pppoeia.h"

#include <gtest/gtest.h>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// "00000001 6162": bytes in hexadecimal.
Bytes hex(const std::string &text) {
    Bytes bytes;
    std::string digits;
    for (const char c : text) {
        if (c == ' ') continue;
        digits.push_back(c);
        if (digits.size() < 2) continue;
        bytes.push_back(static_cast<unsigned char>(std::stoul(digits, nullptr, 16)));
        digits.clear();
    }
    return bytes;
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

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
char name[] = "1/1/1";
char circuit_id[] = "KORVALEN:NONE";

const rpcPppoeiaIntfInfo interface = {
    name,  5,          RPC_PPPOEIA_INTERFACE_BOTH, RPC_PPPOEIA_INTERFACE_UNTRUSTED,
    empty, circuit_id, RPC_PPPOEIA_CID_CUSTOM};
const Bytes interface_bytes =
    hex("00000005 312f312f 31000000 "                    // "1/1/1", padded
        "00000005 00000003 00000001 "                    // type, state, mode
        "00000000 "                                      // ""
        "0000000d 4b4f5256 414c454e 3a4e4f4e 45000000 "  // "KORVALEN:NONE", padded
        "00000002");                                     // Circuit-ID mode

const rpcPppoeiaPortVlanInfo port_vlan = {258, 4095, RPC_PPPOEIA_CID_ATM, "$PORT", ""};
const Bytes port_vlan_bytes =
    join({hex("00000102 00000fff 00000001"), characters(129, "$PORT"), characters(129, "")});

TEST(RpcWireTypes, InfoCarriesItsResultInTheMiddle) {
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaInfo,
                     {1, RPC_PPPOEIA_VSA_REMOVE, 1, 0, 1, west, RPC_PPPOEIA_LOG_SILENT,
                      RPC_PPPOEIA_FAILURE, 1, "ab", "$PORT_REM_ID"}),
              join({hex("00000001 00000001 00000001 00000000 00000001 "
                        "00000006 77657374 20370000 "
                        "ffffffff 00000001 00000001"),
                    characters(129, "ab"), characters(129, "$PORT_REM_ID")}));
}

TEST(RpcWireTypes, InterfacesAloneAndInLists) {
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaIntfInfo, {interface, RPC_PPPOEIA_SUCCESS}),
              join({interface_bytes, hex("00000000")}));
    rpcPppoeiaIntfInfo two[] = {interface, interface};
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaIntfInfoList, {{2, two}, RPC_PPPOEIA_SUCCESS}),
              join({hex("00000002"), interface_bytes, interface_bytes, hex("00000000")}));
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaIntfInfoList, {{0, nullptr}, RPC_PPPOEIA_FAILURE}),
              hex("00000000 00000001"));
}

TEST(RpcWireTypes, Vlans) {
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaVlanInfo, {{100, 1}, RPC_PPPOEIA_NOT_FOUND}),
              hex("00000064 00000001 00000002"));
    rpcPppoeiaVlanInfo two[] = {{100, 1}, {4095, 0}};
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaVlanInfoList, {{2, two}, RPC_PPPOEIA_SUCCESS}),
              hex("00000002 00000064 00000001 00000fff 00000000 00000000"));
}

TEST(RpcWireTypes, PortVlansCarryTheirFormatsWhole) {
    ASSERT_EQ(port_vlan_bytes.size(), 12U + 2 * 516);
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaPortVlanInfo, {port_vlan, RPC_PPPOEIA_SUCCESS}),
              join({port_vlan_bytes, hex("00000000")}));
    rpcPppoeiaPortVlanInfo one[] = {port_vlan};
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaPortVlanInfoList, {{1, one}, RPC_PPPOEIA_SUCCESS}),
              join({hex("00000001"), port_vlan_bytes, hex("00000000")}));
}

TEST(RpcWireTypes, OtherResults) {
    EXPECT_EQ(encode(xdr_rpcPppoeiaResult, RPC_PPPOEIA_PROFILE_MODE), hex("0000000a"));
    EXPECT_EQ(
        encode(xdr_rpcResultPppoeiaStat, {{1, 2, 3, 4, 5, 6, 7, 0xFFFFFFFF}, RPC_PPPOEIA_SUCCESS}),
        hex("00000001 00000002 00000003 00000004 00000005 00000006 00000007 ffffffff "
            "00000000"));
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaCircuitIdMode, {RPC_PPPOEIA_CID_ATM, RPC_PPPOEIA_SUCCESS}),
              hex("00000001 00000000"));
    EXPECT_EQ(encode(xdr_rpcResultPppoeiaSuboptionResult, {"KORV", RPC_PPPOEIA_SUCCESS}),
              join({characters(256, "KORV"), hex("00000000")}));
}

TEST(RpcWireTypes, ArgumentsOfSeveralValues) {
    EXPECT_EQ(
        encode(xdr_rpc_pppoeia_set_interface_state_1_argument, {7, RPC_PPPOEIA_INTERFACE_SERVER}),
        hex("00000007 00000002"));
    EXPECT_EQ(encode(xdr_rpc_pppoeia_set_remoteid_1_argument, {7, west}),
              hex("00000007 00000006 77657374 20370000"));
    EXPECT_EQ(encode(xdr_rpc_pppoeia_set_intf_vlan_circuit_id_mode_1_argument,
                     {7, 100, RPC_PPPOEIA_CID_CUSTOM}),
              hex("00000007 00000064 00000002"));
}

TEST(RpcWireTypes, DecodesWhatAnotherProcessSends) {
    const auto vlan_state =
        decode(xdr_rpc_pppoeia_set_vlan_state_1_argument, hex("00010064 00000001"));
    EXPECT_EQ(vlan_state.vlanId, 0x10064U) << "not cut to 16 bits";
    EXPECT_EQ(vlan_state.state, 1);

    auto info = decode(xdr_rpcResultPppoeiaIntfInfo, join({interface_bytes, hex("00000002")}));
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
