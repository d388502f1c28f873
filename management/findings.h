// A look at the node: what is not as its description, or its operator, wants it.
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
    bool configured = false;             // the engine has all of the description and settings
    std::map<std::string, int> bridges;  // what check_bridge() says of each
    std::string other_owner;             // of this node's numbers at the port mapper
    bool refused = false;                // changes that the last announcement could not make
    std::string reload_problem;          // of the last reload; empty: it was applied
    std::string settings_problem;        // of the file or its copy
    bool unsaved = false;                // settings that a stop would lose
    std::uint32_t waiting = 0;           // settings of what is not there
};

// The worst first, and else in the order of the description.
std::vector<Finding> look_at(const NodeFacts &facts);

// The only finding where the machine's devices cannot be listed.
Finding cannot_look(const std::string &why);

// Whether the type's device stands in the bridge; the others are there as described.
bool follows_device(const node::Interface &interface);

// The described name of a network device that is most like it, which may be
// the same; empty when none is near.
std::string nearest_device(const std::string &device, const std::vector<node::Link> &links);

// All in one line for the service manager: "in force", or the worst and how many more.
std::string summary(const std::vector<Finding> &findings);

}  // namespace ia
