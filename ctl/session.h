// State shared by the commands of one run.
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
    bool batch = false;     // commands come from a file: no questions to the operator

    // Connects at the first use.
    Remote &agent() {
        if (!agent_) agent_.emplace();
        return *agent_;
    }

    // The ports of the bridge on which frames arrive, as of the first use.
    const std::vector<PortName> &ports();

    // Whether the agent is reachable and reports that its engine does not answer.
    bool engine_is_away();

private:
    std::optional<Remote> agent_;
    std::optional<std::vector<PortName>> ports_;
};

}  // namespace ia::ctl
