// One call about settings, description or health to the running management process.
//
//   config_call save|clear|clear-line|show|diff|status|reload|dry-run|health
//
// Prints the reply's text; exits with the reply's result, 9 without a reply.
#include "rpc/pppoeia_node.h"

#include <cstdio>
#include <string>

namespace {

int say(const rpcNodeText *reply) {
    if (!reply) return 9;
    std::fputs(reply->text, stdout);
    return reply->result;
}

int say(const rpcNodeConfigStatus *reply) {
    if (!reply) return 9;
    std::printf("file %s\nauto %d\nunsaved %d\nwaiting %u\nrestores %u\nproblem %s\n", reply->file,
                reply->autoSave, reply->unsaved, reply->waiting, reply->restores, reply->problem);
    return reply->result;
}

int say(const rpcNodeHealth *reply) {
    if (!reply) return 9;
    for (u_int i = 0; i < reply->findings.findings_len; ++i) {
        const rpcNodeFinding &found = reply->findings.findings_val[i];
        std::printf("%d %s: %s: %s; %s\n", found.severity, found.code, found.subject, found.text,
                    found.remedy);
    }
    return reply->result;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string what = argc == 2 ? argv[1] : "";
    CLIENT *agent = clnt_create("127.0.0.1", RPC_PPPOEIA_NODE, RPC_PPPOEIA_NODE_V1, "tcp");
    if (!agent) return 9;
    if (what == "save") return say(rpc_node_config_save_1(agent));
    if (what == "clear") return say(rpc_node_config_clear_1(agent));
    if (what == "clear-line") {  // of port 1, VLAN 100
        const int *result = rpc_node_clear_line_1(1, 100, agent);
        return result ? *result : 9;
    }
    if (what == "show") return say(rpc_node_config_show_1(agent));
    if (what == "diff") return say(rpc_node_config_diff_1(agent));
    if (what == "reload") return say(rpc_node_reload_1(FALSE, agent));
    if (what == "dry-run") return say(rpc_node_reload_1(TRUE, agent));
    if (what == "health") return say(rpc_node_health_1(agent));
    return say(rpc_node_config_status_1(agent));
}
