// The worker thread of a bridge.
#pragma once

namespace ia {

struct BridgeRuntime;

// Longest wait for a frame, and so the longest delay of a stop request.
inline constexpr int worker_wait_ms = 10;

// Serves the bridge's frames until its stop request is seen. A frame for which
// there is no memory is dropped. The record and its runtime outlive the worker.
void pppoeia_bridge_worker(BridgeRuntime &runtime);

}  // namespace ia
