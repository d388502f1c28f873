#include "programs/fe_process.h"

#include "client/dispatch/dispatch.h"
#include "node/description/read_description.h"
#include "node/ippc/ippc_server.h"
#include "node/kernel/kernel.h"
#include "node/linux/ncfm.h"
#include "pppoeia/client.h"
#include "pppoeia/fe.h"
#include "programs/command_line.h"
#include "programs/configure.h"
#include "programs/sd_notify.h"
#include "programs/stop_signals.h"

#include <syslog.h>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace ia {

namespace {

enum ExitStatus { done = 0, failed = 1, refused = 2 };

class Engine {
public:
    Engine() {
        if (const int result = fe_pppoeia_init())
            throw std::runtime_error("the engine did not start: fe_pppoeia_init answered " +
                                     std::to_string(result));
    }
    ~Engine() { fe_pppoeia_fini(); }
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;
};

// Every line is undone at the end, the last one first.
void serve(const node::Description &description) {
    const StopSignals stop;  // before there is any other thread
    node::describe_node(description);
    const node::Kernel kernel(description);
    const Engine engine;
    configure(description);
    const node::IppcServer requests(PPPOEIA_ENGINE_PATH, dispatch, warn_ippc);
    const ServiceReady ready;
    stop.wait();
}

ExitStatus complain(const std::exception &error, ExitStatus status) {
    std::fprintf(stderr, "%s\n", error.what());
    return status;
}

ExitStatus run(const CommandLine &options) {
    try {
        const node::Description description = node::read_description(options.node);
        if (options.check) return done;
        serve(description);
        return done;
    } catch (const node::DescriptionError &error) {
        return complain(error, refused);
    } catch (const std::exception &error) {
        return complain(error, failed);
    }
}

}  // namespace

int fe_process(int argc, char **argv) {
    openlog("pppoeia-fe", LOG_PID, LOG_DAEMON);
    CommandLine options;
    if (const auto status = read_command_line(argc, argv, options)) return *status ? refused : done;
    return run(options);
}

}  // namespace ia
