// The operator's settings as they are kept.
#include "programs/ctl/answers.h"

namespace ia::ctl {

namespace {

using Function = rpcNodeText *(*)(CLIENT *);

std::string run(Call &call, Function function, const char *what) {
    const rpcNodeText &reply = call.agent().node(function);
    std::string text = reply.text;
    if (reply.result == RPC_PPPOEIA_SUCCESS) return text;
    if (reply.result == RPC_PPPOEIA_NOT_FOUND)
        throw Refused(
            "there is no file for settings; name one in the node description: "
            "[settings] file = \"/var/lib/pppoeia/settings.toml\"");
    if (!text.empty()) throw Refused(text.substr(0, text.find_last_not_of('\n') + 1));
    Remote::expect(reply.result, what);
    return text;
}

}  // namespace

Json config_show(Call &call) {
    return {{"text", run(call, rpc_node_config_show_1, "the settings")}};
}

Json config_diff(Call &call) {
    return {{"text", run(call, rpc_node_config_diff_1, "the settings")}};
}

Json config_save(Call &call) {
    run(call, rpc_node_config_save_1, "saving");
    return {{"done", true}};
}

Json config_clear(Call &call) {
    run(call, rpc_node_config_clear_1, "clearing");
    return {{"done", true}};
}

}  // namespace ia::ctl
