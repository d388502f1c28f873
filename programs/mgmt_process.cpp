#include "programs/mgmt_process.h"

#include "node/linux/ncfm.h"
#include "programs/device_watch.h"
#include "programs/management.h"
#include "programs/metrics_file.h"
#include "programs/port_mapper_watch.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/service_watch.h"
#include "programs/sockets.h"
#include "programs/stop_signals.h"
#include "rpc/metrics.h"

#include <sys/socket.h>
#include <unistd.h>
#include <csignal>

namespace ia {

namespace {

void serve(const node::Description &description) {
    const StopSignals stop;  // before there is any other thread
    node::describe_node(description);
    Management management(description, [] { kill(getpid(), SIGUSR1); });
    const ServiceWatch engine(
        engine_socket, SOCK_SEQPACKET,
        {[&] { management.devices_changed(); }, [&] { management.engine_lost(); },
         [&] { management.engine_returned(); }});
    MetricsFile metrics(metrics_text);  // asks for its text until it ends
    metrics.use(description.metrics_file, description.metrics_interval);
    const PortMapperWatch port_mapper;
    const DeviceWatch devices([&] { management.devices_changed(); });
    PortMapperWatch::wait_until_known();
    const ServiceReady ready;
    stop.wait(
        [&](int signal) {
            if (signal == SIGHUP) {
                management.reload();
                const node::Description now = management.description();
                metrics.use(now.metrics_file, now.metrics_interval);
            }
            if (management.attend() || signal == SIGHUP) sd_notify("READY=1");
        },
        [&] { return management.due(); }, [&] { return management.serves(); });
}

}  // namespace

int mgmt_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-mgmt", "the management process of this node", serve);
}

}  // namespace ia
