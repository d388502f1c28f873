// What the agent is set to and what it counted.
#include "programs/ctl/commands.h"
#include "programs/ctl/words.h"

#include <cstdio>

namespace ia::ctl {

namespace {

void line(const char *name, const std::string &value) {
    std::printf("%-22s %s\n", name, value.c_str());
}

std::string quoted(const char *text) {
    return '\'' + std::string(text) + '\'';
}

void print_port(const rpcPppoeiaIntfInfo &port) {
    line("name", port.name);
    line("role", word_for(roles, port.state));
    line("trust", word_for(trusts, port.mode));
    line("Circuit-ID mode", word_for(id_modes, port.cidMode));
    line("Circuit ID", quoted(port.circuitId));
    line("Remote ID", quoted(port.remoteId));
}

}  // namespace

void show_settings(Remote &agent) {
    const rpcResultPppoeiaInfo &info = agent.call(rpc_pppoeia_get_info_1);
    Remote::expect(info.result, "the settings");
    line("agent", word_for(on_off, info.state));
    line("tags from servers", word_for(tag_modes, info.vsaMode));
    line("insert Circuit ID", word_for(on_off, info.vsaCircuitIdState));
    line("insert Remote ID", word_for(on_off, info.vsaRemoteIdState));
    line("customer VLAN in ID", word_for(on_off, info.vsaCircuitIdCVlanState));
    line("shelf", quoted(info.shelfId));
    line("Circuit-ID format", quoted(info.cidFormat));
    line("Remote-ID format", quoted(info.ridFormat));
    line("debug", word_for(on_off, info.debug));
    line("log level", std::to_string(info.logLevel));
}

void show_ports(Remote &agent) {
    const rpcResultPppoeiaIntfInfoList &ports = agent.call(rpc_pppoeia_get_interface_info_all_1);
    Remote::expect(ports.result, "the ports");
    std::printf("%-14s %-9s %-10s %-8s %-30s %s\n", "PORT", "ROLE", "TRUST", "ID MODE",
                "CIRCUIT ID", "REMOTE ID");
    for (u_int i = 0; i < ports.list.list_len; ++i) {
        const rpcPppoeiaIntfInfo &port = ports.list.list_val[i];
        std::printf("%-14s %-9s %-10s %-8s %-30s %s\n", port.name,
                    word_for(roles, port.state).c_str(), word_for(trusts, port.mode).c_str(),
                    word_for(id_modes, port.cidMode).c_str(), port.circuitId, port.remoteId);
    }
}

void show_port(Remote &agent, std::uint32_t port) {
    const rpcResultPppoeiaIntfInfo &reply = agent.call(rpc_pppoeia_get_interface_info_1, port);
    Remote::expect(reply.result, "port " + std::to_string(port));
    print_port(reply.info);
    const rpcResultPppoeiaPortVlanInfoList &entries =
        agent.call(rpc_pppoeia_port_vlan_info_list_get_1, port);
    if (entries.result != RPC_PPPOEIA_SUCCESS) return;
    for (u_int i = 0; i < entries.list.list_len; ++i) {
        const rpcPppoeiaPortVlanInfo &entry = entries.list.list_val[i];
        std::printf("VLAN %-17u mode %s, Circuit-ID format %s, Remote-ID format %s\n", entry.vlanId,
                    word_for(id_modes, entry.cidMode).c_str(), quoted(entry.cidFormat).c_str(),
                    quoted(entry.ridFormat).c_str());
    }
}

void show_vlans(Remote &agent) {
    const rpcResultPppoeiaVlanInfoList &vlans = agent.call(rpc_pppoeia_get_vlan_info_all_1);
    Remote::expect(vlans.result, "the VLANs");
    std::printf("%-6s %s\n", "VLAN", "AGENT");
    for (u_int i = 0; i < vlans.list.list_len; ++i)
        std::printf("%-6u %s\n", vlans.list.list_val[i].vlanId,
                    word_for(on_off, vlans.list.list_val[i].state).c_str());
}

void show_vlan(Remote &agent, std::uint32_t vlan) {
    const rpcResultPppoeiaVlanInfo &reply = agent.call(rpc_pppoeia_get_vlan_info_1, vlan);
    Remote::expect(reply.result, "VLAN " + std::to_string(vlan));
    line("VLAN", std::to_string(reply.info.vlanId));
    line("agent", word_for(on_off, reply.info.state));
}

void show_stats(Remote &agent, std::optional<std::uint32_t> port) {
    const rpcResultPppoeiaStat &reply = port ? agent.call(rpc_pppoeia_get_interface_stat_1, *port)
                                             : agent.call(rpc_pppoeia_get_stat_1);
    Remote::expect(reply.result, port ? "port " + std::to_string(*port) : "the counters");
    const std::pair<const char *, u_int> counters[] = {{"PADI", reply.stat.padi},
                                                       {"PADR", reply.stat.padr},
                                                       {"PADO", reply.stat.pado},
                                                       {"PADS", reply.stat.pads},
                                                       {"PADT", reply.stat.padt},
                                                       {"dropped", reply.stat.dropped},
                                                       {"unknown code", reply.stat.unknown_code},
                                                       {"truncated", reply.stat.truncated}};
    for (const auto &[name, count] : counters) line(name, std::to_string(count));
}

void preview(Remote &agent, std::uint32_t port, std::uint16_t vlan) {
    const std::string what = "port " + std::to_string(port) + ", VLAN " + std::to_string(vlan);
    const rpcResultPppoeiaSuboptionResult circuit =
        agent.call(rpc_pppoeia_get_circuit_id_gen_1, port, vlan);
    Remote::expect(circuit.result, what);
    const rpcResultPppoeiaSuboptionResult remote =
        agent.call(rpc_pppoeia_get_remote_id_gen_1, port, vlan);
    Remote::expect(remote.result, what);
    line("Circuit ID", quoted(circuit.subopt));
    line("Remote ID", quoted(remote.subopt));
}

}  // namespace ia::ctl
