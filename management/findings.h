// Compares the node with its description and settings, and reports the differences
// as findings.
#pragma once

#include "node/description/description.h"
#include "node/kernel/links.h"
#include "platform/bll/configFile.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace ia {

using Finding = configFile::finding_t;

struct NodeFacts {
    NodeFacts(const node::Description &described, const std::vector<node::Link> &devices)
        : description(described), links(devices) {}

    const node::Description &description;
    const std::vector<node::Link> &links;  // the machine's devices
    bool engine_answers = false;
    bool configured = false;             // the engine has the whole configuration
    std::map<std::string, int> bridges;  // the result of check_bridge() for each
    std::string other_owner;             // of this node's numbers at the port mapper
    bool refused = false;                // the last announcement had refused changes
    std::string reload_problem;          // of the last reload; empty: no problem
    std::string settings_problem;        // of the settings file or its copy
    bool unsaved = false;                // settings that a stop would lose
    std::uint32_t waiting = 0;           // settings of objects that do not exist yet
};

// The most severe first, then in the order of the description.
std::vector<Finding> look_at(const NodeFacts &facts);

// The only finding when the machine's devices cannot be listed.
Finding cannot_look(const std::string &why);

// Whether the type's device is a port of the Linux bridge; other ports exist as
// described.
bool follows_device(const node::Interface &interface);

// The described name that is most similar to a network device's, perhaps equal;
// empty when none is similar.
std::string nearest_device(const std::string &device, const std::vector<node::Link> &links);

// One line for the service manager: "in force", or the most severe finding and the
// number of others.
std::string summary(const std::vector<Finding> &findings);

}  // namespace ia
