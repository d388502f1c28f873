#include "bench/line.h"

#include "pppoeia/pppoeia.h"

#include <cstdio>
#include <stdexcept>

namespace ia::bench {

namespace {

using namespace test;

const std::string client = "ffffffffffff 020000000001 8100 0064 8863 1109 0000 ";
const std::string server = "020000000001 020000000002 8100 0064 8863 1107 0000 ";
const std::string service_name = "0101 0000 ";
const std::string host_uniq = "0103 0008 1122334455667788 ";
const std::string ac_name = "0102 0004 'bras' ";

Bytes be16(std::size_t number) {
    return {static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

Bytes suboption(std::uint8_t number, const Bytes &id) {
    return Bytes{number, static_cast<std::uint8_t>(id.size())} + id;
}

void must(int result) {
    if (result != 0) throw std::runtime_error("cannot set up the line");
}

void add_port(const char *bridge, std::uint32_t id, const char *device, const char *name,
              std::uint32_t kind, std::int32_t state) {
    pppoeia_port_info info{};
    std::snprintf(info.intf_type, sizeof info.intf_type, "eth");
    info.intf_kind = kind;
    info.location.port = id;
    must(cache_pppoeia_port_add(bridge, id, device, name, &info));
    must(cache_pppoeia_port_state_set(bridge, id, state));
}

}  // namespace

void set_up_line(const char *bridge) {
    must(cache_pppoeia_bridge_max_pdu_set(bridge, 1500));
    must(cache_pppoeia_bridge_shelf_id_set(bridge, "s1"));
    must(cache_pppoeia_bridge_chassis_id_set(bridge, 7));
    must(cache_pppoeia_bridge_vlan_set_all(bridge, 1));
    must(cache_pppoeia_vlan_add(bridge, 100));
    must(cache_pppoeia_vlan_name_set(bridge, 100, "internet"));
    must(fe_pppoeia_bridge_sysname_set(bridge, "node-9"));
    add_port(bridge, 1, "sub1", "1/1/1", 9, PPPOEIA_PORT_CLIENT);
    must(cache_pppoeia_port_trust_set(bridge, 1, PPPOEIA_PORT_UNTRUSTED));
    must(cache_pppoeia_port_remote_id_set(bridge, 1, "home-4711"));
    must(fe_pppoeia_bridge_intf_descr_set(bridge, 1, "line-17"));
    add_port(bridge, 2, "net0", "1/1/2", 1, PPPOEIA_PORT_BOTH);
}

void use_formats(const char *bridge, const char *circuit_id, const char *remote_id) {
    must(cache_pppoeia_port_vsa_circuit_id_mode_set(bridge, 1, PPPOEIA_CID_CUSTOM));
    must(cache_pppoeia_circuit_id_format_set(bridge, circuit_id));
    must(cache_pppoeia_remote_id_format_set(bridge, remote_id));
}

Bytes text_tag() {
    const auto bytes_of = [](std::string_view text) { return Bytes(text.begin(), text.end()); };
    return vendor_tag(bytes_of(text_circuit_id_made), bytes_of(text_remote_id_made));
}

Bytes padi_datagram() {
    return datagram({.port = 1, .vlan = 100, .cvlan = 5},
                    hex(client + "0010" + service_name + host_uniq));
}

Bytes pado_datagram() {
    return datagram({.port = 2, .vlan = 100, .cvlan = 5, .in = "net0", .out = "sub1"},
                    hex(server + "003f" + service_name + ac_name) + default_tag() + hex(host_uniq));
}

Bytes marked_padi(const Bytes &tag) {
    const Bytes tags = hex(service_name + host_uniq) + tag;
    return hex(client) + be16(tags.size()) + tags;
}

Bytes cleaned_pado() {
    return hex(server + "0018" + service_name + ac_name + host_uniq);
}

Bytes default_tag() {
    return hex("0105 0023 00000de9 01 1b 'KORVALEN:s1 eth 3/1/1/1:100' 02 00");
}

Bytes vendor_tag(const Bytes &circuit_id, const Bytes &remote_id) {
    const Bytes body = hex("00000de9") + suboption(1, circuit_id) + suboption(2, remote_id);
    return hex("0105") + be16(body.size()) + body;
}

}  // namespace ia::bench
