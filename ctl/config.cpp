// Commands for the operator's saved settings.
#include "ctl/answers.h"
#include "ctl/screen.h"

#include <unistd.h>
#include <cstdio>
#include <iostream>
#include <sstream>

namespace ia::ctl {

namespace {

std::string run(Call &call, rpcNodeText *(*function)(CLIENT *), const char *what) {
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

Json reload(Call &call) {
    const bool dry_run = call.has("dry-run");
    const rpcNodeText &reply = call.agent().node(rpc_node_reload_1, bool_t{dry_run});
    const std::string text = reply.text;
    if (reply.result == RPC_PPPOEIA_FAILURE && !text.empty())
        throw Refused("nothing is changed:\n" + text.substr(0, text.find_last_not_of('\n') + 1));
    Remote::expect(reply.result, "the node description");
    Json changes = Json::array();
    std::istringstream lines(text);
    for (std::string one; std::getline(lines, one);) changes.push_back(one);
    return {{"reload", {{"dry_run", dry_run}, {"changes", changes}}}};
}

void print_reload(const Json &answer) {
    const Json &reload = answer.at("reload");
    for (const Json &change : reload.at("changes")) std::printf("%s\n", shown(change).c_str());
    const std::size_t count = reload.at("changes").size();
    const char *said = reload.at("dry_run").get<bool>() ? "would change" : "changed";
    std::printf("%zu %s %s\n", count, count == 1 ? "line" : "lines", said);
}

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

namespace {

// Asks the operator at the terminal; whether the answer is yes.
bool confirmed(const char *question) {
    std::fprintf(stderr, "%s [y/N] ", question);
    std::string answer;
    return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

}  // namespace

Json config_clear(Call &call) {
    const bool somebody_there = !call.session().batch && isatty(STDIN_FILENO) == 1;
    if (!call.has("yes") && !somebody_there)
        throw Refused(
            "this takes every setting of operators back to the node description's; say --yes");
    if (!call.has("yes") &&
        !confirmed("Take every setting of operators back to the node description's?"))
        throw Refused("nothing was cleared");
    run(call, rpc_node_config_clear_1, "clearing");
    return {{"done", true}};
}

}  // namespace ia::ctl
