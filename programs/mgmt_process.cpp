#include "programs/mgmt_process.h"

#include "node/description/read_description.h"
#include "node/framework/framework.h"
#include "node/linux/ncfm.h"
#include "platform/bll/Log.h"
#include "programs/agent_calls.h"
#include "programs/engine_watch.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/sockets.h"
#include "programs/stop_signals.h"

#include <unistd.h>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace ia {

namespace {

// The framework with its entities, started and stopped.
class Management {
public:
    explicit Management(node::Description description)
        : description_(std::move(description)), framework_(calls_, served_path(message_socket)) {
        if (!framework_.start(description_))
            throw std::runtime_error(
                "the management process did not start: see the system log; is pppoeia-fe running?");
    }
    ~Management() { framework_.stop(); }
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    // Reads the description again and announces what differs. One that does not
    // check is refused whole.
    void reload() {
        try {
            node::Description changed = node::read_description(description_.file);
            node::describe_node(changed);
            framework_.apply(changed);
            description_ = std::move(changed);
        } catch (const std::exception &error) {
            Log::instance().setMsgLevel(0).write(error.what()).write("\n");
        }
    }

    // Configures an engine that has started anew, without bridges.
    void restore() {
        framework_.stop();
        if (!framework_.start(description_))
            Log::instance().setMsgLevel(0).write("cannot configure the engine again\n");
    }

private:
    AgentCalls calls_;
    node::Description description_;
    node::Framework framework_;
};

void serve(const node::Description &description) {
    const StopSignals stop;  // before there is any other thread
    node::describe_node(description);
    Management management(description);
    const EngineWatch watch(engine_socket, [] { kill(getpid(), SIGUSR1); });
    const ServiceReady ready;
    stop.wait([&](int signal) {
        if (signal == SIGHUP)
            management.reload();
        else
            management.restore();
        sd_notify("READY=1");
    });
}

}  // namespace

int mgmt_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-mgmt", "the management process of this node", serve);
}

}  // namespace ia
