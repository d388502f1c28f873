#include "programs/mgmt_process.h"

#include "management/device_watch.h"
#include "management/event_loop.h"
#include "management/loop_signals.h"
#include "management/management.h"
#include "management/metrics_file.h"
#include "management/port_mapper_watch.h"
#include "node/linux/ncfm.h"
#include "node/linux/run_folder.h"
#include "programs/process.h"
#include "programs/sd_notify.h"
#include "programs/stop_signals.h"
#include "rpc/metrics.h"

#include <chrono>
#include <optional>
#include <string>

namespace ia {

namespace {

// Feeds the service manager's watchdog from the loop, as long as remote calls are
// served.
class Watchdog {
public:
    Watchdog(EventLoop &loop, Management &management)
        : task_(loop, [this, &loop, &management] {
              if (management.serves()) sd_notify("WATCHDOG=1");
              task_.at(loop.now() + *pulse_);
          }) {
        if (pulse_) task_.at(loop.now());
    }

private:
    const std::optional<std::chrono::microseconds> pulse_ = watchdog_pulse();
    EventLoop::Task task_;
};

// Destructors undo each line in reverse order.
void serve(const node::Description &description) {
    const StopSignals signals;  // before any other thread exists
    const OnlyProcess alone("pppoeia-mgmt");
    node::describe_node(description);
    EventLoop loop;
    Management management(loop, description);
    MetricsFile metrics(metrics_text);  // calls metrics_text until it is destroyed
    metrics.use(description.metrics_file, description.metrics_interval);
    const PortMapperWatch port_mapper;
    const DeviceWatch devices(loop, [&] { management.devices_changed(); });
    if (management.link() != EngineLink::State::away) PortMapperWatch::wait_until_known();
    management.tell({.configured = [] { sd_notify("READY=1"); },
                     .news = [](const std::string &said) { sd_notify(("STATUS=" + said).c_str()); },
                     .reread =
                         [&](const node::Description &now) {
                             metrics.use(now.metrics_file, now.metrics_interval);
                         }});
    const auto reload = [&] {
        management.reload_now();
        sd_notify("READY=1");
    };
    const LoopSignals arriving(loop, signals.set(), [&](int signal) {
        StopSignals::is_stop(signal) ? loop.stop() : reload();
    });
    const Watchdog watchdog(loop, management);
    const ServiceReady ready;
    loop.run();
}

}  // namespace

int mgmt_process(int argc, char **argv) {
    return run_process(argc, argv, "pppoeia-mgmt", "the management process of this node", serve);
}

}  // namespace ia
