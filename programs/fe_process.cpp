#include "programs/fe_process.h"

#include "client/dispatch/dispatch.h"
#include "node/description/read_description.h"
#include "node/ippc/ippc_server.h"
#include "node/kernel/kernel.h"
#include "node/linux/ncfm.h"
#include "node/linux/sockets.h"
#include "pppoeia/client.h"
#include "pppoeia/fe.h"
#include "programs/command_line.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/stop_signals.h"

#include <syslog.h>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

namespace ia {

namespace {

// Deletes all bridges at the process's end.
struct Bridges {
    Bridges() = default;
    ~Bridges() { fe_pppoeia_fini(); }
    Bridges(const Bridges &) = delete;
    Bridges &operator=(const Bridges &) = delete;
};

// From a changed description the engine takes only the limits. A faulty description is
// refused whole.
void reload(const std::string &file, node::Kernel &kernel) {
    try {
        kernel.limit(node::read_description(file));
    } catch (const std::exception &error) {
        syslog(LOG_ERR, "%s", error.what());
    }
    sd_notify("READY=1");
}

// Checks the engine as a caller would: the request thread must answer, and no
// worker may keep its bridge locked. "No such bridge" counts as an answer.
bool answers(const node::Description &description) {
    const bool all = std::ranges::all_of(description.bridges, [](const node::Bridge &bridge) {
        pppoeia_stats unused{};
        return pppoeia_bridge_stats_get(bridge.name.c_str(), &unused) != client_no_answer;
    });
    if (!all) syslog(LOG_ERR, "the engine does not answer itself: the watchdog is not told");
    return all;
}

// Destructors undo each line in reverse order. The engine starts empty: the
// management process creates and configures its bridges.
void serve(const node::Description &description) {
    const StopSignals stop;  // before any other thread exists
    node::describe_node(description);
    node::Kernel kernel(description);
    const Bridges bridges;
    const node::IppcServer requests(served_path(engine_socket), dispatch, warn_ippc);
    const ServiceReady ready;
    stop.wait([&] { reload(description.file, kernel); }, [&] { return answers(description); });
}

// Removes what an ended engine left in place to hold all frames.
void release() {
    const auto released = node::release_node();
    for (const std::string &line : released) std::printf("%s\n", line.c_str());
    if (released.empty()) std::puts("nothing to release");
}

}  // namespace

int fe_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-fe", "the forwarding engine of this node", serve,
                       release);
}

}  // namespace ia
