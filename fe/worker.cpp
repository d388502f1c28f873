#include "fe/worker.h"

#include "fe/base/trace.h"
#include "fe/discovery.h"
#include "fe/frame.h"
#include "fe/frame_watch.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <algorithm>
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

// Receives into the zeroed buffer. False for nothing, or for a datagram whose
// record disagrees with its size.
bool receive(pppoeia_bridge &bridge) {
    std::ranges::fill(bridge.frame_buf, std::uint8_t{0});
    const ssize_t received = recv(bridge.sock, bridge.frame_buf.data(), bridge.buf_size, 0);
    if (received <= 0) return false;
    bridge.frame_end = static_cast<std::size_t>(received);
    return Frame(bridge).record().total_length == bridge.frame_end;
}

void serve_frame(pppoeia_bridge &bridge, FrameIds &ids) {
    const std::scoped_lock lock(bridge.lock);
    ids.circuit_id.clear();
    ids.remote_id.clear();
    if (!receive(bridge)) return;
    FrameWatch watch(bridge);
    const Outcome outcome = bridge.disabled ? Outcome::bridge_disabled : process_frame(bridge, ids);
    watch.left(outcome);
    if (is_sent(outcome))
        send(bridge.sock, bridge.frame_buf.data(), Frame(bridge).record().total_length, 0);
}

}  // namespace

void pppoeia_bridge_worker(pppoeia_bridge &bridge) {
    pppoeia_log(7, "<%s> Worker started.", bridge.name);
    raise_priority(bridge.name);
    FrameIds ids;
    while (!bridge.stop)
        if (wait_for_frame(bridge.sock)) serve_frame(bridge, ids);
    pppoeia_log(7, "<%s> Finished.", bridge.name);
}

}  // namespace ia
