// Server functions that the management process carries out: operators' settings,
// the description, the node's findings.
#include "platform/bll/CliConfig.h"
#include "platform/bll/configFile.h"
#include "rpc/pppoeia_node.h"
#include "rpc/server.h"

#include <string>
#include <vector>

namespace {

constexpr int failed = 1;

using Operation = boost::function<int(std::string &)>;

rpcNodeText *run(const Operation &operation) {
    static std::string text;
    static rpcNodeText reply;
    text.clear();
    reply.result = operation ? operation(text) : failed;
    reply.text = text.data();
    return &reply;
}

rpcNodeText *change(const Operation &operation) {
    if (!CliConfig::instance().checkProfileMode()) return run(operation);
    return run([](std::string &text) {
        text = "service profiles configure the node\n";
        return ia::profile_mode;
    });
}

}  // namespace

rpcNodeText *rpc_node_config_show_1_svc(svc_req *) {
    return run(configFile::instance().show);
}

rpcNodeText *rpc_node_config_diff_1_svc(svc_req *) {
    return run(configFile::instance().diff);
}

rpcNodeText *rpc_node_config_described_1_svc(svc_req *) {
    return run(configFile::instance().described);
}

rpcNodeText *rpc_node_config_save_1_svc(svc_req *) {
    return run(configFile::instance().save);
}

// Resets the node's settings, which service profiles may have made.
rpcNodeText *rpc_node_config_clear_1_svc(svc_req *) {
    return change(configFile::instance().clear);
}

rpcNodeConfigStatus *rpc_node_config_status_1_svc(svc_req *) {
    static configFile::status_t status;
    static rpcNodeConfigStatus reply;
    status = {};
    const auto &operation = configFile::instance().status;
    const int result = operation ? operation(status) : failed;
    reply = {status.file.data(), status.autoSave,       status.unsaved, status.waiting,
             status.restores,    status.problem.data(), result};
    return &reply;
}

rpcNodeText *rpc_node_reload_1_svc(bool_t dry_run, svc_req *) {
    const auto &reload = configFile::instance().reload;
    return run([&](std::string &text) { return reload ? reload(dry_run != 0, text) : failed; });
}

rpcNodeHealth *rpc_node_health_1_svc(svc_req *) {
    static std::vector<configFile::finding_t> found;
    static std::vector<rpcNodeFinding> records;
    static rpcNodeHealth reply;
    found.clear();
    const auto &health = configFile::instance().health;
    reply.result = health ? health(found) : failed;
    records.clear();
    for (configFile::finding_t &finding : found)
        records.push_back({static_cast<rpcNodeSeverity>(finding.severity), finding.code.data(),
                           finding.subject.data(), finding.text.data(), finding.remedy.data()});
    reply.findings.findings_len = static_cast<u_int>(records.size());
    reply.findings.findings_val = records.data();
    return &reply;
}
