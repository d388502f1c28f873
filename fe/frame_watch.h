// Keeps the last frames, as received and as sent, for an operator's trace.
//
// Without a reader, a frame costs one test of a flag. Kept frames are in one ring
// of fixed size for all bridges, which exists only while it is read.
#pragma once

#include "fe/discovery.h"
#include "pppoeia/node.h"

#include <atomic>
#include <memory>

namespace ia {

inline constexpr std::size_t watched_frames_max = 256;

inline std::atomic<bool> frames_are_watched{false};

// One frame in its buffer, from its arrival on. The worker's, under the
// bridge's lock.
class FrameWatch {
public:
    FrameWatch(const pppoeia_bridge &bridge, const Datagram &datagram)
        : bridge_(bridge), datagram_(datagram) {
        if (frames_are_watched.load(std::memory_order_relaxed)) [[unlikely]]
            came();
    }

    // Keeps the frame as it is in the buffer now.
    void left(Outcome outcome) {
        if (frame_) [[unlikely]]
            keep(outcome);
    }

private:
    void came();
    void keep(Outcome outcome);

    const pppoeia_bridge &bridge_;
    const Datagram &datagram_;
    std::unique_ptr<WatchedFrame> frame_;
};

}  // namespace ia
