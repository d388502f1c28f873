#include "fe/worker.h"

#include "fe/base/trace.h"
#include "fe/batch.h"
#include "fe/bridge_runtime.h"
#include "fe/discovery.h"
#include "fe/frame.h"
#include "fe/frame_watch.h"
#include "fe/lines.h"

#include <poll.h>
#include <pthread.h>
#include <mutex>
#include <new>

namespace ia {

namespace {

// One step above the priority inherited; a policy with a single level refuses.
void raise_priority(const char *bridge) {
    int policy = 0;
    sched_param parameters{};
    if (pthread_getschedparam(pthread_self(), &policy, &parameters) != 0) {
        pppoeia_log(4, "<%s> Unable to get priority.", bridge);
        return;
    }
    constexpr int step = 1;
    parameters.sched_priority += step;
    if (pthread_setschedparam(pthread_self(), policy, &parameters) != 0) {
        pppoeia_log(4, "<%s> Unable to set priority.", bridge);
        return;
    }
    pppoeia_log(7, "<%s> Priority set to %d (%s%d).", bridge, parameters.sched_priority, "+", step);
}

bool wait_for_frame(int socket) {
    pollfd ready{socket, POLLIN, 0};
    return poll(&ready, 1, worker_wait_ms) == 1;
}

Outcome outcome_of(pppoeia_bridge &bridge, Datagram &datagram, FrameIds &ids) {
    if (bridge.disabled) return Outcome::bridge_disabled;
    try {
        return process_frame(bridge, datagram, ids);
    } catch (const std::bad_alloc &) {
        return Outcome::no_memory;
    }
}

// One datagram of a batch; empty if its record disagrees with its size.
void serve_frame(pppoeia_bridge &bridge, Datagram &datagram, Batch &batch, FrameIds &ids) {
    const kvbridge_frame_hdr &record = Frame(bridge, datagram).record();
    if (datagram.end == 0 || record.total_length != datagram.end) return;
    ids.circuit_id.clear();
    ids.remote_id.clear();
    FrameWatch watch(bridge, datagram);
    const Outcome outcome = outcome_of(bridge, datagram, ids);
    watch.left(outcome);
    if (is_sent(outcome)) batch.keep_for_sending(datagram, record.total_length);
}

// Whether more datagrams may be waiting. The lock is held until the batch is sent:
// when a setter returns, no frame processed under the old setting can still be
// sent, and counters never run ahead of the wire.
bool serve_batch(BridgeRuntime &runtime, FrameIds &ids) {
    pppoeia_bridge &bridge = runtime.bridge;
    Batch &batch = *runtime.batch;
    const std::size_t count = batch.receive(runtime.sock);
    if (count == 0) return false;
    const std::scoped_lock lock(bridge.lock);
    if (bridge.lines) tell_time(*bridge.lines);
    for (std::size_t number = 0; number < count && !runtime.stop; ++number)
        serve_frame(bridge, batch.show(number), batch, ids);
    batch.send(runtime.sock);
    return count == batch_max;
}

}  // namespace

void pppoeia_bridge_worker(BridgeRuntime &runtime) {
    const char *bridge = runtime.bridge.name;
    pppoeia_log(7, "<%s> Worker started.", bridge);
    raise_priority(bridge);
    FrameIds ids;
    bool more = false;
    while (!runtime.stop)
        if (more || wait_for_frame(runtime.sock)) more = serve_batch(runtime, ids);
    pppoeia_log(7, "<%s> Finished.", bridge);
}

}  // namespace ia
