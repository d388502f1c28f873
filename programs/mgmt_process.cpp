#include "programs/mgmt_process.h"

#include "node/description/read_description.h"
#include "node/framework/framework.h"
#include "node/linux/ncfm.h"
#include "platform/bll/Log.h"
#include "programs/agent_calls.h"
#include "programs/message_socket.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/stop_signals.h"

#include <stdexcept>

namespace ia {

namespace {

// The framework with its entities, started and stopped.
class Management {
public:
    explicit Management(const node::Description &description)
        : framework_(calls_, message_socket) {
        if (!framework_.start(description))
            throw std::runtime_error(
                "the management process did not start: see the system log; is pppoeia-fe running?");
    }
    ~Management() { framework_.stop(); }
    Management(const Management &) = delete;
    Management &operator=(const Management &) = delete;

    // Reads the description again and announces what differs. One that does not
    // check is refused whole.
    void reload(const std::string &file) {
        try {
            framework_.apply(node::read_description(file));
        } catch (const std::exception &error) {
            Log::instance().setMsgLevel(0).write(error.what()).write("\n");
        }
    }

private:
    AgentCalls calls_;
    node::Framework framework_;
};

void serve(const node::Description &description) {
    const StopSignals stop;  // before there is any other thread
    node::describe_node(description);
    Management management(description);
    const ServiceReady ready;
    stop.wait([&] { management.reload(description.file); });
}

}  // namespace

int mgmt_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-mgmt", "the management process of this node", serve);
}

}  // namespace ia
