#include "fe/worker.h"

#include "fe/base/trace.h"
#include "fe/batch.h"
#include "fe/discovery.h"
#include "fe/frame.h"
#include "fe/frame_watch.h"

#include <poll.h>
#include <pthread.h>
#include <mutex>

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

// One datagram of a batch. One whose record disagrees with its size is nothing.
void serve_frame(pppoeia_bridge &bridge, Batch &batch, std::size_t number, FrameIds &ids) {
    const std::scoped_lock lock(bridge.lock);
    batch.show(number, bridge);
    const kvbridge_frame_hdr &record = Frame(bridge).record();
    if (bridge.frame_end == 0 || record.total_length != bridge.frame_end) return;
    ids.circuit_id.clear();
    ids.remote_id.clear();
    FrameWatch watch(bridge);
    const Outcome outcome = bridge.disabled ? Outcome::bridge_disabled : process_frame(bridge, ids);
    watch.left(outcome);
    if (is_sent(outcome)) batch.keep_for_sending(bridge, record.total_length);
}

// Whether there may be more than was served.
bool serve_batch(pppoeia_bridge &bridge, FrameIds &ids) {
    Batch &batch = *bridge.batch;
    const std::size_t count = batch.receive(bridge.sock);
    for (std::size_t number = 0; number < count; ++number) serve_frame(bridge, batch, number, ids);
    batch.send(bridge.sock);
    return count == batch_max;
}

}  // namespace

void pppoeia_bridge_worker(pppoeia_bridge &bridge) {
    pppoeia_log(7, "<%s> Worker started.", bridge.name);
    raise_priority(bridge.name);
    FrameIds ids;
    bool more = false;
    while (!bridge.stop)
        if (more || wait_for_frame(bridge.sock)) more = serve_batch(bridge, ids);
    pppoeia_log(7, "<%s> Finished.", bridge.name);
}

}  // namespace ia
