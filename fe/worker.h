// The worker thread of a bridge.
#pragma once

struct pppoeia_bridge;

namespace ia {

// Longest wait for a frame, so the longest until a stop request is seen.
inline constexpr int worker_wait_ms = 10;

// Serves the bridge's frames until its stop request is seen. The record, its
// socket and its buffer outlive the worker.
void pppoeia_bridge_worker(pppoeia_bridge &bridge);

}  // namespace ia
