// The server functions of the node's own program.
//
// A reply is valid until the next call of its procedure; its strings and arrays are
// stored beside it.
#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "platform/bll/CliConfig.h"
#include "platform/bll/Interfaces.h"
#include "pppoeia/client.h"
#include "pppoeia/node.h"
#include "pppoeia_version.h"
#include "rpc/last_refusal.h"
#include "rpc/metrics.h"
#include "rpc/node_health.h"
#include "rpc/pppoeia_node.h"
#include "rpc/server.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

using namespace ia;

namespace {

rpcNodeCounters counters_of(const pppoeia_stats &stats) {
    return {stats.padi,    stats.padr,         stats.pado,      stats.pads,    stats.padt,
            stats.dropped, stats.unknown_code, stats.truncated, stats.bypassed};
}

template <class List, class Record>
void set_list(List &list, std::vector<Record> &records) {
    if constexpr (requires { list.list_val; }) {
        list.list_len = static_cast<u_int>(records.size());
        list.list_val = records.data();
    } else {
        list.ports_len = static_cast<u_int>(records.size());
        list.ports_val = records.data();
    }
}

// Runs a change, which returns an entity's result, under the exclusive lock.
template <class Change>
int *change_line(Change change) {
    static int reply;
    reply = CliConfig::instance().checkProfileMode() ? profile_mode : exclusively(change);
    return &reply;
}

using FormatSetter = int (*)(const char *, std::uint32_t, std::uint16_t, const char *);

constexpr u_short last_vlan = 4095;

// Sets a line's own format. An entry without a mode would leave the line without a
// Circuit ID, so a new entry starts with the port's mode. If the format is refused,
// a new entry is removed again.
int *set_line(u_int port, u_short vlan, FormatSetter set, const char *format) {
    return change_line([&] {
        if (vlan > last_vlan) return 2;
        pppoeia_port_vlan_info entry{};
        const bool present = pppoeia_port_vlan_info_get(default_bridge, port, vlan, &entry) == 0;
        const bool bare = !present || entry.cid_mode == PPPOEIA_CID_NOT_SET;
        if (bare) {
            std::uint32_t mode = PPPOEIA_CID_DEFAULT;
            if (pppoeia_port_vsa_circuit_id_mode_get(default_bridge, port, &mode) != 0) return 2;
            if (pppoeia_circuit_id_mode_port_vlan_set(default_bridge, port, vlan, mode) != 0)
                return 1;
        }
        const int result = set(default_bridge, port, vlan, format);
        if (bare && result != 0)
            pppoeia_circuit_id_mode_port_vlan_set(default_bridge, port, vlan, PPPOEIA_CID_NOT_SET);
        return entity_result(result);
    });
}

}  // namespace

rpcNodeStatus *rpc_node_status_1_svc(svc_req *) {
    static const std::string version = PPPOEIA_VERSION;
    static const std::string build = build_compiler();
    static rpcNodeStatus reply;
    const Health now = read_health();
    reply = {text_of(version),
             text_of(build),
             now.started,
             now.engine_answers,
             now.engine_restarts,
             now.ippc_failures,
             CliConfig::instance().checkProfileMode()};
    return &reply;
}

rpcNodePortList *rpc_node_ports_1_svc(svc_req *) {
    static std::vector<PortCounters> ports;
    static std::vector<rpcNodePort> records;
    static rpcNodePortList reply;
    ports = read_ports();
    reply.result = 0;
    records.clear();
    for (const PortCounters &port : ports)
        records.push_back({port.number, text_of(port.name), port.type});
    set_list(reply.list, records);
    return &reply;
}

rpcNodeDeviceList *rpc_node_devices_1_svc(svc_req *) {
    static std::vector<std::string> devices;
    static std::vector<rpcNodeDevice> records;
    static rpcNodeDeviceList reply;
    const std::vector<PortCounters> ports = read_ports();
    devices.assign(ports.size(), "");
    records.clear();
    for (std::size_t i = 0; i < ports.size(); ++i) {
        Interfaces::instance().interfaceGetLinuxnameById(ports[i].number, devices[i]);
        records.push_back({ports[i].number, text_of(devices[i])});
    }
    reply.result = 0;
    set_list(reply.list, records);
    return &reply;
}

rpcNodeCountersReply *rpc_node_counters_1_svc(svc_req *) {
    static const std::string bridge = default_bridge;
    static Counters counters;
    static std::vector<rpcNodePortCounters> records;
    static rpcNodeCountersReply reply;
    counters = {};
    records.clear();
    reply.bridge = text_of(bridge);
    reply.result = read_counters(counters) ? 0 : 1;
    reply.total = counters_of(counters.bridge);
    for (const PortCounters &port : counters.ports)
        records.push_back({{port.number, text_of(port.name), port.type}, counters_of(port.stats)});
    set_list(reply.ports, records);
    return &reply;
}

rpcNodePortFrames *rpc_node_port_frames_1_svc(u_int port, svc_req *) {
    static PortFrames frames;
    static std::vector<rpcNodeOutcome> records;
    static rpcNodePortFrames reply;
    frames = {};
    records.clear();
    const int result = read_port_frames(port, frames);
    reply.result = result == -ENODEV ? not_applicable : EntityResult(entity_result(result));
    for (const PortFrames::Row &row : frames.outcomes)
        records.push_back(
            {const_cast<char *>(row.word), const_cast<char *>(row.meaning), row.frames});
    reply.outcomes = {static_cast<u_int>(records.size()), records.data()};
    const auto &sent = frames.sent;
    reply.sent = {sent[SENT_PADI], sent[SENT_PADO], sent[SENT_PADR],
                  sent[SENT_PADS], sent[SENT_PADT], sent[SENT_OTHER]};
    return &reply;
}

rpcNodeLine *rpc_node_line_1_svc(u_int port, u_short vlan, svc_req *) {
    static pppoeia_port_vlan_info entry;
    static rpcNodeLine reply;
    entry = {};
    reply.result = shared([&] {
        reply.present = pppoeia_port_vlan_info_get(default_bridge, port, vlan, &entry) == 0;
        return 0;
    });
    reply.cidMode = static_cast<int>(entry.cid_mode);
    reply.cidFormat = entry.cid_format;
    reply.ridFormat = entry.rid_format;
    return &reply;
}

rpcNodeLineIds *rpc_node_line_ids_1_svc(u_int port, u_short vlan, u_short cvlan, rpcNodeMac client,
                                        svc_req *) {
    static LineIdsBlock ids;
    static rpcNodeLineIds reply;
    ids = {};
    reply.result = shared([&] {
        pppoeia_mac mac{};
        std::copy(std::begin(client.bytes), std::end(client.bytes), mac.bytes);
        const int result = line_ids(default_bridge, port, vlan, cvlan, &mac, &ids);
        return result == -ENODEV ? not_applicable : EntityResult(entity_result(result));
    });
    const auto id_of = [](GeneratedId &id) -> rpcNodeId {
        return {id.binary != 0, id.text, {id.size, reinterpret_cast<char *>(id.bytes)}};
    };
    reply.circuitId = id_of(ids.circuit_id);
    reply.remoteId = id_of(ids.remote_id);
    return &reply;
}

rpcNodeText *rpc_node_metrics_1_svc(svc_req *) {
    static std::string text;
    static rpcNodeText reply;
    text = metrics_text();
    reply = {text_of(text), 0};
    return &reply;
}

rpcNodeText *rpc_node_why_1_svc(svc_req *request) {
    static std::string text;
    static rpcNodeText reply;
    text = why_refused(request->rq_xprt);
    reply = {text_of(text), text.empty() ? 2 : 0};
    return &reply;
}

int *rpc_node_set_line_cid_format_1_svc(u_int port, u_short vlan, rpcNodeFormat format, svc_req *) {
    return set_line(port, vlan, pppoeia_circuit_id_format_port_vlan_set, format);
}

int *rpc_node_set_line_rid_format_1_svc(u_int port, u_short vlan, rpcNodeFormat format, svc_req *) {
    return set_line(port, vlan, pppoeia_remote_id_format_port_vlan_set, format);
}

int *rpc_node_clear_line_1_svc(u_int port, u_short vlan, svc_req *) {
    return change_line([&] {
        pppoeia_port_vlan_info entry{};
        if (pppoeia_port_vlan_info_get(default_bridge, port, vlan, &entry) != 0) return 2;
        // The mode last: the entry is removed when its last setting is cleared.
        const bool cleared =
            pppoeia_circuit_id_format_port_vlan_set(default_bridge, port, vlan, "") == 0 &&
            pppoeia_remote_id_format_port_vlan_set(default_bridge, port, vlan, "") == 0 &&
            pppoeia_circuit_id_mode_port_vlan_set(default_bridge, port, vlan,
                                                  PPPOEIA_CID_NOT_SET) == 0;
        return cleared ? 0 : 1;
    });
}
