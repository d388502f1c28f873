#include "rpc/subject.h"

#include "entity/operation.h"
#include "entity/pppoeia.h"
#include "platform/bll/Interfaces.h"
#include "platform/bll/kvbridge.h"
#include "pppoeia/client.h"
#include "pppoeia/records.h"
#include "rpc/node_health.h"
#include "rpc/server.h"
#include "store/bridge_list.h"

namespace ia {

namespace {

constexpr std::uint32_t last_vlan = 4095;
constexpr std::size_t longest_shown = 200;  // bytes of a text in the log

struct Limit {
    std::string_view label;
    std::size_t longest;
};
constexpr Limit limits[] = {
    {"format", PPPOEIA_FORMAT_SIZE - 1},
    {"shelf", PPPOEIA_SHELF_ID_SIZE - 1},
    {"remote ID", PPPOEIA_REMOTE_ID_SIZE - 1},
};

std::string port_problem(std::uint32_t port) {
    std::string problem;
    shared([&] {
        const BridgePtr bridge = bridge_list_find(default_bridge);
        if (!bridge) {
            problem = std::string("there is no bridge ") + default_bridge;
        } else if (port == 0 || port >= bridge->port_limit) {
            problem = "port " + std::to_string(port) + ": 1 to " +
                      std::to_string(bridge->port_limit - 1) + " on " + default_bridge;
        }
        return 0;
    });
    if (!problem.empty()) return problem;
    const std::string name = "port " + std::to_string(port);
    if (!Interfaces::instance().checkId(port)) return name + " is not described";
    std::uint32_t unused = 0;
    if (pppoeia_port_state_get(default_bridge, port, &unused) != 0)
        return name + " is described, but its device is not there or not in the bridge";
    return {};
}

std::string vlan_problem(std::uint32_t vlan, bool of_bridge) {
    kvbridge::vlanInfo unused{};
    const std::string name = "VLAN " + std::to_string(vlan);
    if (vlan > last_vlan) return name + ": 0 to " + std::to_string(last_vlan);
    if (of_bridge && kvbridge::instance().vlanGetInfoId(
                         default_bridge, static_cast<std::uint16_t>(vlan), unused) != 0)
        return name + " is not described on " + default_bridge;
    return {};
}

// A line's format holds one byte less than the bridge's.
std::string text_problem(std::string_view label, std::string_view text, bool of_line) {
    for (const Limit &limit : limits)
        if (const std::size_t longest = limit.longest - of_line;
            limit.label == label && text.size() > longest)
            return std::string(label) + " has " + std::to_string(text.size()) + " bytes, at most " +
                   std::to_string(longest);
    return {};
}

}  // namespace

void Subject::add_number(const char *label, std::int64_t number) {
    const std::string_view name = label ? label : "";
    if (name == "port") port_ = static_cast<std::uint32_t>(number);
    if (name == "VLAN") vlan_ = static_cast<std::uint32_t>(number);
    if (name == "mode") mode_ = number;
    words_.append(words_.empty() ? "" : ", ").append(name).append(" ");
    words_ += std::to_string(number);
}

void Subject::add_text(const char *label, const char *text) {
    text_label_ = label ? label : "";
    text_ = text;
    words_.append(words_.empty() ? "" : ", ").append(text_label_).append(" \"");
    words_.append(text_, 0, longest_shown).append(text_.size() > longest_shown ? "...\"" : "\"");
}

std::string Subject::explain(int result) const {
    if (result == profile_mode) return "service profiles configure this node (profile_mode)";
    if (std::string problem = text_problem(text_label_, text_, vlan_.has_value()); !problem.empty())
        return problem;
    if (vlan_)
        if (std::string problem = vlan_problem(*vlan_, !port_); !problem.empty()) return problem;
    if (port_)
        if (std::string problem = port_problem(*port_); !problem.empty()) return problem;
    if (port_ && !vlan_ && mode_ == PPPOEIA_CID_ATM && result == not_applicable)
        return "port " + std::to_string(*port_) + " is no ATM port: its mode cannot be ATM";
    if (!read_health().engine_answers) return "the engine does not answer: is pppoeia-fe running?";
    return {};
}

}  // namespace ia
