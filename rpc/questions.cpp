// Server functions that only read.
//
// A reply is valid until the next call of its procedure; its strings and arrays are
// stored beside it. A failed call sets only the result.
#include "entity/pppoeia.h"
#include "rpc/server.h"

#include <algorithm>
#include <cstring>
#include <list>
#include <string>
#include <vector>

using namespace ia;

namespace {

constexpr std::size_t format_max = RPC_PPPOEIA_FORMAT_SIZE - 1;

void copy_format(char (&field)[RPC_PPPOEIA_FORMAT_SIZE], const std::string &format) {
    const std::size_t length = std::min(format.size(), format_max);
    std::memcpy(field, format.data(), length);
    field[length] = '\0';
}

// `info` stores the texts that the record points to.
rpcPppoeiaIntfInfo record_of(const pppoeia::interfaceInfo_t &info) {
    rpcPppoeiaIntfInfo record{};
    record.name = text_of(info.name);
    record.type = static_cast<rpcIfcType>(info.type);
    record.state = rpcPppoeiaInterfaceState(info.state);
    record.mode = rpcPppoeiaInterfaceMode(info.mode);
    record.remoteId = text_of(info.remoteId);
    record.circuitId = text_of(info.circuitId);
    record.cidMode = rpcPppoeiaCircuitIdMode(info.cidMode);
    return record;
}

rpcPppoeiaPortVlanInfo record_of(const pppoeia::portVlanInfo_t &info) {
    rpcPppoeiaPortVlanInfo record{};
    record.ifIndex = info.ifIndex;
    record.vlanId = info.vlanId;
    record.cidMode = rpcPppoeiaCircuitIdMode(info.cidMode);
    copy_format(record.cidFormat, info.cidFormat);
    copy_format(record.ridFormat, info.ridFormat);
    return record;
}

rpcPppoeiaVlanInfo record_of(const pppoeia::vlanInfo_t &info) {
    return {info.vlanId, info.state};
}

// A list reply and the memory it points to.
template <class Reply, class Record, class Info>
struct ListReply {
    Reply reply{};
    std::vector<Record> records;
    std::list<Info> infos;

    Reply *fill(int result) {
        reply.result = rpcPppoeiaResult(result);
        if (result != 0) return &reply;
        records.clear();
        for (const Info &info : infos) records.push_back(record_of(info));
        set_list(reply.list);
        return &reply;
    }

private:
    template <class List>
    void set_list(List &list) {
        if constexpr (requires { list.list_len; }) {
            list.list_len = static_cast<u_int>(records.size());
            list.list_val = records.data();
        }
    }
};

rpcPppoeiaStat record_of(const pppoeia_stats &stats) {
    return {stats.padi, stats.padr,    stats.pado,         stats.pads,
            stats.padt, stats.dropped, stats.unknown_code, stats.truncated};
}

rpcResultPppoeiaStat *answer_stats(rpcResultPppoeiaStat &reply, int result,
                                   const pppoeia_stats &stats) {
    reply.result = rpcPppoeiaResult(result);
    if (result == 0) reply.stat = record_of(stats);
    return &reply;
}

using Generator = int (pppoeia::*)(unsigned int, unsigned short, char *) const;

rpcResultPppoeiaSuboptionResult *generate(rpcResultPppoeiaSuboptionResult &reply, Generator id,
                                          u_int if_index, u_short vlan_id) {
    char text[RPC_PPPOEIA_SUBOPT_SIZE - 1] = "";
    reply = {};
    reply.result = rpcPppoeiaResult((agent().*id)(if_index, vlan_id, text));
    std::strncpy(reply.subopt, text, sizeof reply.subopt - 1);
    return &reply;
}

// All settings of the bridge in one reply.
struct Settings {
    bool state, debug, circuit_id, remote_id, cvlan;
    std::string shelf, cid_format, rid_format;
    pppoeia::vsaMode_t mode;
    pppoeia::pppoeiaLoggingLevel level;

    bool read() {
        return agent().getState(state) == 0 && agent().getDebug(debug) == 0 &&
               agent().getShelfId(shelf) == 0 && agent().getVsaMode(mode) == 0 &&
               agent().getVsaCircuitIdState(circuit_id) == 0 &&
               agent().getVsaRemoteIdState(remote_id) == 0 &&
               agent().getVsaCircuitIdCVlanState(cvlan) == 0 && agent().getLogLevel(level) == 0 &&
               agent().getVsaCircuitIdFormat(cid_format) == 0 &&
               agent().getVsaRemoteIdFormat(rid_format) == 0;
    }
};

}  // namespace

rpcResultPppoeiaInfo *rpc_pppoeia_get_info_1_svc(svc_req *) {
    static std::string shelf;
    static rpcResultPppoeiaInfo reply;
    reply.shelfId = text_of(shelf);
    Settings now{};
    if (!now.read()) {
        reply.result = RPC_PPPOEIA_FAILURE;
        return &reply;
    }
    shelf = now.shelf;
    reply.state = now.state;
    reply.vsaMode = rpcPppoeiaVsaMode(now.mode);
    reply.vsaCircuitIdState = now.circuit_id;
    reply.vsaRemoteIdState = now.remote_id;
    reply.debug = now.debug;
    reply.shelfId = text_of(shelf);
    reply.logLevel = rpcPppoeiaLoggingLevel(now.level);
    reply.vsaCircuitIdCVlanState = now.cvlan;
    copy_format(reply.cidFormat, now.cid_format);
    copy_format(reply.ridFormat, now.rid_format);
    reply.result = RPC_PPPOEIA_SUCCESS;
    return &reply;
}

rpcResultPppoeiaIntfInfoList *rpc_pppoeia_get_interface_info_all_1_svc(svc_req *) {
    static ListReply<rpcResultPppoeiaIntfInfoList, rpcPppoeiaIntfInfo, pppoeia::interfaceInfo_t>
        all;
    std::list<pppoeia::interfaceInfo_t> infos;
    const int result = agent().getInterfaceInfo(infos, true);
    if (result == 0) all.infos.swap(infos);
    return all.fill(result);
}

rpcResultPppoeiaIntfInfo *rpc_pppoeia_get_interface_info_1_svc(u_int if_index, svc_req *) {
    static pppoeia::interfaceInfo_t kept;
    static rpcResultPppoeiaIntfInfo reply{record_of(kept), RPC_PPPOEIA_SUCCESS};
    pppoeia::interfaceInfo_t info;
    reply.result = rpcPppoeiaResult(agent().getInterfaceInfo(if_index, info));
    if (reply.result == RPC_PPPOEIA_SUCCESS) {
        kept = info;
        reply.info = record_of(kept);
    }
    return &reply;
}

rpcResultPppoeiaVlanInfoList *rpc_pppoeia_get_vlan_info_all_1_svc(svc_req *) {
    static ListReply<rpcResultPppoeiaVlanInfoList, rpcPppoeiaVlanInfo, pppoeia::vlanInfo_t> all;
    return all.fill(agent().getVlanInfo(all.infos));
}

rpcResultPppoeiaVlanInfo *rpc_pppoeia_get_vlan_info_1_svc(u_int vlan_id, svc_req *) {
    static rpcResultPppoeiaVlanInfo reply;
    pppoeia::vlanInfo_t info;
    reply.result =
        rpcPppoeiaResult(agent().getVlanInfo(static_cast<unsigned short>(vlan_id), info));
    if (reply.result == RPC_PPPOEIA_SUCCESS) reply.info = record_of(info);
    return &reply;
}

rpcResultPppoeiaStat *rpc_pppoeia_get_stat_1_svc(svc_req *) {
    static rpcResultPppoeiaStat reply;
    pppoeia_stats stats{};
    return answer_stats(reply, agent().getGlobalStatistics(stats), stats);
}

rpcResultPppoeiaStat *rpc_pppoeia_get_interface_stat_1_svc(u_int if_index, svc_req *) {
    static rpcResultPppoeiaStat reply;
    pppoeia_stats stats{};
    return answer_stats(reply, agent().getInterfaceStatistics(if_index, stats), stats);
}

// The answer of this procedure is fixed; the mode is in the interface's record.
rpcResultPppoeiaCircuitIdMode *rpc_pppoeia_get_interface_circuit_id_mode_1_svc(u_int, svc_req *) {
    static rpcResultPppoeiaCircuitIdMode reply{RPC_PPPOEIA_CID_DEFAULT, RPC_PPPOEIA_SUCCESS};
    return &reply;
}

rpcResultPppoeiaPortVlanInfoList *rpc_pppoeia_port_vlan_info_list_get_1_svc(u_int if_index,
                                                                            svc_req *) {
    static ListReply<rpcResultPppoeiaPortVlanInfoList, rpcPppoeiaPortVlanInfo,
                     pppoeia::portVlanInfo_t>
        all;
    return all.fill(agent().getPortVlanList(if_index, all.infos));
}

rpcResultPppoeiaPortVlanInfo *rpc_pppoeia_port_vlan_info_get_1_svc(u_int if_index, u_short vlan_id,
                                                                   svc_req *) {
    static rpcResultPppoeiaPortVlanInfo reply;
    pppoeia::portVlanInfo_t info;
    reply.result = rpcPppoeiaResult(agent().getPortVlan(if_index, vlan_id, info));
    if (reply.result == RPC_PPPOEIA_SUCCESS) reply.info = record_of(info);
    return &reply;
}

rpcResultPppoeiaSuboptionResult *rpc_pppoeia_get_circuit_id_gen_1_svc(u_int if_index,
                                                                      u_short vlan_id, svc_req *) {
    static rpcResultPppoeiaSuboptionResult reply;
    return generate(reply, &pppoeia::genCircuitIdByIntfVlan, if_index, vlan_id);
}

rpcResultPppoeiaSuboptionResult *rpc_pppoeia_get_remote_id_gen_1_svc(u_int if_index,
                                                                     u_short vlan_id, svc_req *) {
    static rpcResultPppoeiaSuboptionResult reply;
    return generate(reply, &pppoeia::genRemoteIdByIntfVlan, if_index, vlan_id);
}
