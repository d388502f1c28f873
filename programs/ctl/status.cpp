// How the node's processes are.
#include "programs/ctl/answers.h"
#include "programs/ctl/screen.h"

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

Json show_status(Call &call) {
    const rpcNodeStatus &now = call.agent().node(rpc_node_status_1);
    return {{"status",
             {{"version", now.release},
              {"build", now.build},
              {"started", now.started},
              {"engine", now.engine != 0},
              {"engine_restarts", now.engineStarts > 0 ? now.engineStarts - 1 : 0},
              {"ippc_failures", now.ippcFailures},
              {"profile_mode", now.profileMode != 0}}}};
}

void print_status(const Json &answer) {
    const Json &now = answer.at("status");
    const bool engine = now.at("engine").get<bool>();
    std::fputs((field("version", now.at("version")) + field("build", now.at("build")) +
                line("running since", time_text(now.at("started").get<std::time_t>())) +
                line("engine", engine ? ink(Ink::green, "answers")
                                      : ink(Ink::red, "does not answer: is pppoeia-fe running?")) +
                field("engine restarts", now.at("engine_restarts")) +
                field("calls unanswered", now.at("ippc_failures")) +
                line("configured by",
                     now.at("profile_mode").get<bool>() ? "service profiles" : "operators"))
                   .c_str(),
               stdout);
}

Json show_metrics(Call &call) {
    return {{"text", call.agent().node(rpc_node_metrics_1).text}};
}

void print_metrics(const Json &answer) {
    print_text(answer);
}

void print_text(const Json &answer) {
    std::fputs(answer.at("text").get<std::string>().c_str(), stdout);
}

void print_nothing(const Json &) {}

}  // namespace ia::ctl
