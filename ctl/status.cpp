// Shows the health of the node's processes.
#include "ctl/answers.h"
#include "ctl/screen.h"
#include "node/settings/replace_file.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace ia::ctl {

namespace {

std::string time_text(std::time_t seconds) {
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

}  // namespace

namespace {

// The status of a finding; a node without findings is healthy.
constexpr Word severities[] = {
    {"note", RPC_NODE_NOTE}, {"warning", RPC_NODE_WARNING}, {"critical", RPC_NODE_CRITICAL}};
constexpr Word healths[] = {
    {"good", RPC_NODE_NOTE}, {"warning", RPC_NODE_WARNING}, {"critical", RPC_NODE_CRITICAL}};

Json json_of(const rpcNodeFinding &finding) {
    return {{"severity", word_for(severities, finding.severity)},
            {"code", finding.code},
            {"subject", finding.subject},
            {"text", finding.text},
            {"advice", finding.remedy}};
}

int worst_of(const Json &findings) {
    int worst = RPC_NODE_NOTE;
    for (const Json &finding : findings)
        worst = std::max(worst, number_for(severities, finding.at("severity").get<std::string>()));
    return worst;
}

}  // namespace

Json show_status(Call &call) {
    const rpcNodeStatus &now = call.agent().node(rpc_node_status_1);
    const rpcNodeHealth &health = call.agent().node(rpc_node_health_1);
    Remote::expect(health.result, "the health of the node");
    const auto &info = call.agent().call(rpc_pppoeia_get_info_1);
    const Json agent = info.result == RPC_PPPOEIA_SUCCESS ? Json(info.state != 0) : Json();
    const rpcNodeConfigStatus &kept = call.agent().node(rpc_node_config_status_1);
    Json settings;
    if (kept.result == 0 && kept.file[0])
        settings = {{"file", kept.file},
                    {"auto", kept.autoSave != 0},
                    {"saved", kept.unsaved == 0},
                    {"waiting", kept.waiting},
                    {"problem", kept.problem[0] ? Json(kept.problem) : Json()}};
    Json findings = Json::array();
    for (u_int i = 0; i < health.findings.findings_len; ++i)
        findings.push_back(json_of(health.findings.findings_val[i]));
    return {{"status",
             {{"health", word_for(healths, worst_of(findings))},
              {"findings", findings},
              {"agent", agent},
              {"version", now.release},
              {"build", now.build},
              {"started", now.started},
              {"engine", now.engine != 0},
              {"engine_restarts", now.engineRestarts},
              {"ippc_failures", now.ippcFailures},
              {"profile_mode", now.profileMode != 0},
              {"settings", settings}}}};
}

namespace {

std::string settings_text(const Json &settings) {
    if (settings.is_null()) return line("settings", "not kept: no file is described");
    const bool by_itself = settings.at("auto").get<bool>();
    const char *saved = settings.at("saved").get<bool>() ? "saved in "
                        : by_itself                      ? "soon saved in "
                                                         : "not all saved in ";
    std::string text = line("settings", saved + settings.at("file").get<std::string>() +
                                            (by_itself ? ", by itself" : ""));
    if (settings.at("waiting") != 0)
        text += line("", settings.at("waiting").dump() + " wait for their port or VLAN");
    if (!settings.at("problem").is_null())
        text += line("", ink(Ink::red, printable(settings.at("problem").get<std::string>())));
    return text;
}

Ink ink_of(const Json &severity) {
    if (severity == "critical") return Ink::red;
    return severity == "warning" ? Ink::yellow : Ink::green;
}

std::string health_text(const Json &now) {
    std::string text = line("health", ink(ink_of(now.at("health")), shown(now.at("health"))));
    for (const Json &finding : now.at("findings")) {
        const std::string severity = shown(finding.at("severity"));
        text +=
            line("  " + severity, shown(finding.at("subject")) + ": " + shown(finding.at("text")) +
                                      ". To do: " + shown(finding.at("advice")));
    }
    return text;
}

}  // namespace

Status verdict_of_status(const Json &answer) {
    const Json &now = answer.at("status");
    if (!now.at("engine").get<bool>()) return unreachable;
    if (now.at("health") == "critical") return node_in_error;
    return now.at("health") == "warning" ? node_with_warnings : done;
}

void print_status(const Json &answer) {
    const Json &now = answer.at("status");
    const bool engine = now.at("engine").get<bool>();
    std::fputs(
        (health_text(now) +
         line("agent", now.at("agent") == false ? ink(Ink::yellow, "off: no frame gets an ID")
                                                : shown(now.at("agent"))) +
         field("version", now.at("version")) + field("build", now.at("build")) +
         line("running since", time_text(now.at("started").get<std::time_t>())) +
         line("engine", engine ? ink(Ink::green, "answers")
                               : ink(Ink::red, "does not answer: is pppoeia-fe running?")) +
         field("engine restarts", now.at("engine_restarts")) +
         field("calls unanswered", now.at("ippc_failures")) +
         line("configured by",
              now.at("profile_mode").get<bool>() ? "service profiles" : "operators") +
         settings_text(now.at("settings")))
            .c_str(),
        stdout);
}

Json show_metrics(Call &call) {
    const std::string text = call.agent().node(rpc_node_metrics_1).text;
    if (!call.has("file")) return {{"text", text}};
    node::replace_file(call.text("file"), text, node::Purpose::publish);
    return {{"done", true}};
}

void print_metrics(const Json &answer) {
    if (answer.contains("text")) print_text(answer);
}

void print_text(const Json &answer) {
    const auto text = answer.at("text").get<std::string>();
    std::fputs((on_terminal() ? printable_lines(text) : text).c_str(), stdout);
}

void print_nothing(const Json &) {}

}  // namespace ia::ctl
