#include "management/findings.h"

#include "node/description/problems.h"

#include <algorithm>
#include <cerrno>

namespace ia {

namespace {

using enum configFile::finding_t::severity_t;

// The first line, and the number of further lines.
std::string first_line(const std::string &text) {
    const auto more = std::ranges::count(text, '\n');
    const std::string first = text.substr(0, text.find('\n'));
    return more == 0 ? first : first + " (and " + std::to_string(more) + " more)";
}

std::string port_label(const node::Interface &port) {
    return "port " + std::to_string(port.id) + " (" + port.name + ")";
}

class Look {
public:
    explicit Look(const NodeFacts &facts) : facts_(facts) {}

    std::vector<Finding> all() {
        engine();
        for (const node::Bridge &bridge : facts_.description.bridges) look_at_bridge(bridge);
        for (const node::Interface &port : facts_.description.interfaces)
            if (follows_device(port)) look_at_port(port);
        for (const node::Bridge &bridge : facts_.description.bridges) members(bridge);
        management_device();
        description();
        settings();
        port_mapper();
        std::ranges::stable_sort(found_, std::ranges::greater{}, &Finding::severity);
        return std::move(found_);
    }

private:
    void find(Finding::severity_t severity, const char *code, std::string subject, std::string text,
              std::string remedy) {
        found_.push_back({severity, code, std::move(subject), std::move(text), std::move(remedy)});
    }

    const node::Link *device(const std::string &name) const {
        return node::find_link(facts_.links, name);
    }

    // A hint if the missing device's name resembles that of a device.
    std::string like(const std::string &name) const {
        const std::string near = nearest_device(name, facts_.links);
        return near.empty() ? "" : "; the description may mean \"" + near + "\"";
    }

    void engine() {
        if (!facts_.engine_answers)
            return find(critical, "engine-away", "engine",
                        "pppoeia-fe does not answer: Discovery frames are held, unless released",
                        "look at `systemctl status pppoeia-fe` and its log");
        if (!facts_.configured)
            find(critical, "engine-not-configured", "engine",
                 "the engine does not have all of the configuration yet: frames are held",
                 "wait a second; if it stays, look at the log of pppoeia-mgmt");
    }

    void look_at_bridge(const node::Bridge &bridge) {
        const std::string subject = "bridge " + bridge.name;
        const node::Link *const link = device(bridge.device);
        if (!link)
            return find(
                critical, "bridge-missing", subject,
                "there is no network device \"" + bridge.device + "\"" + like(bridge.device),
                "make the bridge, or correct the description and reload");
        if (!link->is_bridge())
            return find(critical, "bridge-missing", subject,
                        "the network device \"" + bridge.device + "\" is no bridge",
                        "make a bridge of that name, or correct the description and reload");
        const auto checked = facts_.bridges.find(bridge.name);
        if (checked == facts_.bridges.end()) return;
        if (checked->second == -ENODEV || checked->second == -EMSGSIZE)
            find(critical, "bridge-not-served", subject,
                 "its frames do not reach the engine: the pseudo device is gone or too small",
                 "it is made anew within a second; if it stays, look at the log of pppoeia-fe");
        if (checked->second == -ENOPROTOOPT)
            find(warning, "netfilter-missing", subject,
                 "its netfilter rules were taken away: a device that joins it passes Discovery "
                 "unmarked until the filter is at its port",
                 "systemctl restart pppoeia-fe makes them anew");
        if (checked->second == -EOPNOTSUPP)
            find(note, "netfilter-unavailable", subject,
                 "the kernel has no netfilter for bridges: the filter at the ports stands alone",
                 "modprobe nf_tables, then systemctl restart pppoeia-fe");
    }

    void look_at_port(const node::Interface &port) {
        const node::Link *const link = device(port.device);
        if (!link)
            return find(warning, "device-missing", port_label(port),
                        "there is no network device \"" + port.device + "\"" + like(port.device),
                        "plug the device, or correct the description and reload");
        for (const node::Bridge &its : facts_.description.bridges) {
            const node::Link *const bridge = its.name == port.bridge ? device(its.device) : nullptr;
            if (bridge && link->master != bridge->index)
                find(warning, "port-not-in-bridge", port_label(port),
                     "its device \"" + port.device + "\" is not in the bridge " + its.device,
                     "ip link set " + port.device + " master " + its.device);
        }
    }

    // Pseudo devices are no members.
    void members(const node::Bridge &bridge) {
        const node::Link *const link = device(bridge.device);
        if (!link) return;
        std::set<std::string> described;
        for (const node::Interface &port : facts_.description.interfaces)
            described.insert(port.device);
        for (const node::Link &member : facts_.links)
            if (member.master == link->index && !described.contains(member.name))
                find(warning, "member-not-described", "device " + member.name,
                     "it is in the bridge " + bridge.device +
                         " and not described: its Discovery frames are held",
                     "describe it as a port and reload, or take it out: ip link set " +
                         member.name + " nomaster");
    }

    void management_device() {
        const std::string &name = facts_.description.management_device;
        if (!device(name))
            find(warning, "management-device-missing", "device " + name,
                 "there is no such device: a request too long to be marked gets no error reply",
                 "make the device, or name another one as [node] management" + like(name));
    }

    void description() {
        if (!facts_.reload_problem.empty())
            find(warning, "reload-refused", "description",
                 "the last reload was refused, the one before it is in force: " +
                     first_line(facts_.reload_problem),
                 "correct the description and reload: pppoeiactl reload");
        if (facts_.refused)
            find(warning, "changes-refused", "description", "not all of its changes could be made",
                 "the log of pppoeia-mgmt names each; the next reload tries them again");
    }

    void settings() {
        if (!facts_.settings_problem.empty())
            find(warning, "settings-problem", "settings", first_line(facts_.settings_problem),
                 "correct the file or make room, then: pppoeiactl config save");
        if (facts_.unsaved)
            find(note, "settings-unsaved", "settings",
                 "settings are in force that are not saved: a stop would lose them",
                 "pppoeiactl config save");
        if (facts_.waiting > 0)
            find(note, "settings-waiting", "settings",
                 std::to_string(facts_.waiting) + " settings wait for their port or VLAN",
                 "nothing, when it will come; pppoeiactl config diff shows them");
    }

    void port_mapper() {
        if (!facts_.other_owner.empty())
            find(warning, "port-mapper-foreign", "port mapper",
                 "it gives callers of this node's RPC programs to " + facts_.other_owner +
                     "; pppoeiactl is not affected",
                 "the log of pppoeia-mgmt has the command that takes that away, as root");
    }

    const NodeFacts &facts_;
    std::vector<Finding> found_;
};

}  // namespace

Finding cannot_look(const std::string &why) {
    return {Finding::critical, "devices-unknown", "node",
            "the machine's devices cannot be listed: " + why,
            "see to the process's descriptors and memory; it is tried again"};
}

std::vector<Finding> look_at(const NodeFacts &facts) {
    return Look(facts).all();
}

bool follows_device(const node::Interface &interface) {
    return node::facts_of(interface.type).stands_in_bridge;
}

std::string nearest_device(const std::string &device, const std::vector<node::Link> &links) {
    std::vector<std::string_view> names;
    for (const node::Link &link : links) names.push_back(link.name);
    return std::string(node::nearest(device, names));
}

std::string summary(const std::vector<Finding> &findings) {
    const auto amiss = std::ranges::count_if(
        findings, [](const Finding &finding) { return finding.severity > note; });
    if (amiss == 0) return "in force";
    const Finding &worst = findings.front();
    std::string text = worst.subject + ": " + worst.text;
    if (amiss > 1) text += " (and " + std::to_string(amiss - 1) + " more: pppoeiactl status)";
    std::ranges::replace(text, '\n', ' ');
    return text;
}

}  // namespace ia
