// A look at the node: each finding alone, then their order.
#include "management/findings.h"

#include "management/description_changes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cerrno>
#include <functional>

namespace ia {
namespace {

struct Node {
    node::Description description;
    std::vector<node::Link> links;
    NodeFacts facts{description, links};

    Node() {
        description.bridges = {{.name = "br0", .device = "lan"}};
        node::Interface port;
        port.id = 3;
        port.name = "1/1/3";
        port.type = node::InterfaceType::access;
        port.device = "sub3";
        port.bridge = "br0";
        description.interfaces = {port};
        links = {{.index = 1, .name = "lan", .kind = "bridge"},
                 {.index = 2, .master = 1, .name = "sub3", .kind = "veth"},
                 {.index = 3, .name = "mng0", .kind = "bridge"}};
        facts.engine_answers = facts.configured = true;
    }
    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;
};

struct Row {
    const char *label;
    std::function<void(Node &)> amiss;
    std::vector<std::string> found;  // "<severity> <code> <subject>"
};

const std::vector<Row> rows = {
    {"all is well", [](Node &) {}, {}},
    {"no engine", [](Node &n) { n.facts.engine_answers = false; }, {"2 engine-away engine"}},
    {"not configured",
     [](Node &n) { n.facts.configured = false; },
     {"2 engine-not-configured engine"}},
    {"no bridge device",
     [](Node &n) { n.links.erase(n.links.begin()); },
     {"2 bridge-missing bridge br0"}},
    {"no bridge of that name",
     [](Node &n) { n.links[0].kind = "veth"; },
     {"2 bridge-missing bridge br0"}},
    {"no pseudo device",
     [](Node &n) { n.facts.bridges["br0"] = -ENODEV; },
     {"2 bridge-not-served bridge br0"}},
    {"its netfilter rules are gone",
     [](Node &n) { n.facts.bridges["br0"] = -ENOPROTOOPT; },
     {"1 netfilter-missing bridge br0"}},
    {"a kernel without netfilter",
     [](Node &n) { n.facts.bridges["br0"] = -EOPNOTSUPP; },
     {"0 netfilter-unavailable bridge br0"}},
    {"somebody else has its RPC programs",
     [](Node &n) { n.facts.other_owner = "user 1000"; },
     {"1 port-mapper-foreign port mapper"}},
    {"the bridge is served", [](Node &n) { n.facts.bridges["br0"] = 0; }, {}},
    {"a device misspelled",
     [](Node &n) { n.description.interfaces[0].device = "sbu3"; },
     {"1 device-missing port 3 (1/1/3)", "1 member-not-described device sub3"}},
    {"an ONU has no device",
     [](Node &n) {
         n.description.interfaces[0].type = node::InterfaceType::onu;
         n.links[1].master = 0;
         n.links[1].name = "other";
     },
     {}},
    {"outside the bridge",
     [](Node &n) { n.links[1].master = 3; },
     {"1 port-not-in-bridge port 3 (1/1/3)"}},
    {"nobody described it",
     [](Node &n) { n.links.push_back({.index = 4, .master = 1, .name = "eth9", .kind = ""}); },
     {"1 member-not-described device eth9"}},
    {"no management device",
     [](Node &n) { n.links.pop_back(); },
     {"1 management-device-missing device mng0"}},
    {"reload refused",
     [](Node &n) { n.facts.reload_problem = "f:1: a\nf:2: b"; },
     {"1 reload-refused description"}},
    {"changes refused", [](Node &n) { n.facts.refused = true; }, {"1 changes-refused description"}},
    {"the worst first",
     [](Node &n) {
         n.facts.unsaved = true;
         n.facts.waiting = 2;
         n.facts.settings_problem = "no room";
         n.facts.engine_answers = false;
     },
     {"2 engine-away engine", "1 settings-problem settings", "0 settings-unsaved settings",
      "0 settings-waiting settings"}},
};

TEST(Findings, EachRow) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.label);
        Node node;
        row.amiss(node);
        std::vector<std::string> found;
        for (const Finding &finding : look_at(node.facts))
            found.push_back(std::to_string(finding.severity) + ' ' + finding.code + ' ' +
                            finding.subject);
        EXPECT_EQ(found, row.found);
    }
}

TEST(Findings, SummaryIsOneLineOfTheWorst) {
    Node node;
    EXPECT_EQ(summary(look_at(node.facts)), "in force");
    node.facts.unsaved = true;
    EXPECT_EQ(summary(look_at(node.facts)), "in force");
    node.facts.reload_problem = "f:1: a\nf:2: b";
    EXPECT_EQ(summary(look_at(node.facts)),
              "description: the last reload was refused, the one before it is in force: f:1: a "
              "(and 1 more)");
    node.links.pop_back();
    EXPECT_THAT(summary(look_at(node.facts)),
                testing::EndsWith(" (and 1 more: pppoeiactl status)"));
}

TEST(DescriptionChanges, NamesWhatJoinsLeavesAndChanges) {
    Node was, now;
    now.description.shelf = "s9";
    now.description.bridges[0].max_pdu = 1600;
    now.description.vlans = {{.id = 100, .name = "", .bridge = "br0"}};
    node::Interface fourth = now.description.interfaces[0];
    now.description.interfaces[0].device = "other";
    now.description.interfaces[0].settings.remote_id = "line";
    was.description.interfaces.push_back(fourth);
    was.description.interfaces[1].id = 4;
    EXPECT_EQ(describe_changes(was.description, now.description),
              (std::vector<std::string>{"the node changes: [node] shelf",
                                        "bridge br0 changes: max_pdu", "VLAN 100 of br0 joins",
                                        "port 3 (1/1/3, other) changes: device, remote_id",
                                        "port 4 (1/1/3, sub3) leaves"}));
    EXPECT_TRUE(describe_changes(was.description, was.description).empty());
}

}  // namespace
}  // namespace ia
