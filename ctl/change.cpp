#include "ctl/change.h"

#include "ctl/answers.h"
#include "ctl/screen.h"
#include "idgen/explain.h"

#include <cstdio>

namespace ia::ctl {

std::string subject_of(Call &call) {
    if (call.has("port"))
        return "port " + call.port_name() + (call.has("vlan") ? ", VLAN " + call.text("vlan") : "");
    return call.has("vlan") ? "VLAN " + call.text("vlan") : "the setting";
}

namespace {

// Warnings about a format that is now in force.
void warn_of_format(Call &call) {
    const FormatReport report =
        explain_format(call.text("format"), [](customIdFormat) { return std::nullopt; });
    for (const FormatNote &note : report.notes)
        std::fprintf(stderr, "pppoeiactl: warning: %s\n", printable(note.text).c_str());
}

}  // namespace

Json for_each_port(Call &call, const std::function<void()> &change) {
    Json answer = {{"done", true}};
    if (!call.has("port")) {
        change();
        warn_of_format(call);
        return answer;
    }
    const bool several = is_pattern(call.text("port"));
    if (several) answer["ports"] = Json::array();
    std::string refusals;
    std::size_t refused = 0;
    const std::vector<PortName> ports = call.ports();
    for (const PortName &port : ports) try {
            call.choose(port);
            change();
            if (several) answer["ports"].push_back(port.name);
        } catch (const Refused &error) {
            if (!several || call.session().engine_is_away()) throw;
            refusals += (++refused > 1 ? "\n" : "") + std::string(error.what());
        }
    if (refused > 0)
        throw Refused(std::to_string(refused) + " of " + std::to_string(ports.size()) +
                      " ports refused:\n" + refusals);
    warn_of_format(call);
    return answer;
}

Json reset(Call &call) {
    return for_each_port(call, [&] {
        if (const auto port = call.maybe("port"))
            call.agent().change(subject_of(call), rpc_pppoeia_reset_interface_stat_1, *port);
        else
            call.agent().change("the counters", rpc_pppoeia_reset_stat_1);
    });
}

void print_changed(const Json &answer) {
    if (answer.contains("ports")) std::printf("done for %zu ports\n", answer.at("ports").size());
}

}  // namespace ia::ctl
