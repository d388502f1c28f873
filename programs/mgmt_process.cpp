#include "programs/mgmt_process.h"

#include "management/device_watch.h"
#include "management/management.h"
#include "management/metrics_file.h"
#include "management/port_mapper_watch.h"
#include "management/service_watch.h"
#include "node/linux/ncfm.h"
#include "node/linux/run_folder.h"
#include "node/linux/sockets.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/stop_signals.h"
#include "rpc/metrics.h"

#include <sys/socket.h>
#include <unistd.h>
#include <csignal>

namespace ia {

namespace {

void serve(const node::Description &description) {
    const StopSignals stop;  // before there is any other thread
    const OnlyProcess alone("pppoeia-mgmt");
    node::describe_node(description);
    Management management(description, [] { kill(getpid(), SIGUSR1); });
    const ServiceWatch engine(
        engine_socket, SOCK_SEQPACKET,
        {[&] { management.engine_found(); }, [&] { management.engine_lost(); },
         [&] { management.engine_returned(); }});
    MetricsFile metrics(metrics_text);  // asks for its text until it ends
    metrics.use(description.metrics_file, description.metrics_interval);
    const PortMapperWatch port_mapper;
    const DeviceWatch devices([&] { management.devices_changed(); });
    PortMapperWatch::wait_until_known();
    const ServiceReady ready;
    stop.wait(
        [&](int signal) {
            std::string unused;
            if (signal == SIGHUP) management.reload(false, unused);
            const bool anew = management.attend();
            const node::Description now = management.description();
            metrics.use(now.metrics_file, now.metrics_interval);
            if (anew || signal == SIGHUP) sd_notify("READY=1");
            if (const auto said = management.news()) sd_notify(("STATUS=" + *said).c_str());
        },
        [&] { return management.due(); }, [&] { return management.serves(); });
}

}  // namespace

int mgmt_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-mgmt", "the management process of this node", serve);
}

}  // namespace ia
