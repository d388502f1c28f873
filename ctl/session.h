// What the commands of one run share.
#pragma once

#include "ctl/arguments.h"
#include "ctl/ports.h"
#include "ctl/remote.h"

#include <optional>
#include <vector>

namespace ia::ctl {

class Session {
public:
    bool json = false;
    Status verdict = done;  // of the last command
    bool batch = false;     // commands come from a file: nobody is there to answer questions

    // Connects when first asked for.
    Remote &agent() {
        if (!agent_) agent_.emplace();
        return *agent_;
    }

    // All ports of the bridge that frames come from, as they were when first
    // asked for.
    const std::vector<PortName> &ports();

    // Whether the agent was reached and says that its engine does not answer.
    bool engine_is_away();

private:
    std::optional<Remote> agent_;
    std::optional<std::vector<PortName>> ports_;
};

}  // namespace ia::ctl
