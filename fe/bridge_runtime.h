// Bridge creation and deletion, and the state they share with module start-up.
//
// Creation, deletion, start-up and shutdown exclude each other; operations on
// bridges may run meanwhile.
#pragma once

#include "fe/batch.h"
#include "fe/kernel.h"
#include "store/bridge_list.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

// Bytes that the frame record adds in front of a frame, as buffers are sized
// and traces count (the frame itself starts one byte later). 0 until the first
// bridge is made.
extern std::int32_t frame_adjust;

namespace ia {

inline constexpr std::int32_t frame_adjust_default = 106;

// A bridge's resources: control file, pseudo device, socket, buffers and worker
// thread. The destructor stops the worker and releases them, on any thread that
// does not hold the bridge's lock. While the worker runs, only it uses the members
// behind the socket.
struct BridgeRuntime {
    BridgeRuntime(pppoeia_bridge &owner, ControlFile file);
    BridgeRuntime(const BridgeRuntime &) = delete;
    BridgeRuntime &operator=(const BridgeRuntime &) = delete;
    ~BridgeRuntime();

    pppoeia_bridge &bridge;  // its owner
    ControlFile control;
    int sock = -1;
    std::uint32_t buf_size = 0;  // largest datagram received, bytes
    std::optional<Batch> batch;
    std::atomic<bool> stop{false};
    std::thread worker;
};

// Held while a bridge is created or removed.
extern std::mutex lifecycle;

// Stops the worker of a bridge that is off the list and releases its resources,
// with the traces of fe_pppoeia_bridge_del. The caller holds `lifecycle`.
int end_bridge(pppoeia_bridge &bridge);

}  // namespace ia
