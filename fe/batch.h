// Datagrams that are received together, and those that are sent together.
#pragma once

#include "store/bridge.h"

#include <sys/socket.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ia {

inline constexpr std::size_t batch_max = 32;

// The buffers take turns with the bridge's own: to look at a datagram is to
// exchange two of them. So what was processed stays where it is until the next
// batch is received. The worker's own, but for the bridge's buffer.
class Batch {
public:
    // Room for datagrams of a size, in buffers that go on behind them.
    Batch(std::size_t datagram_size, std::size_t buffer_size);

    // What the socket has for us, in order; 0 when it has nothing. Never waits.
    std::size_t receive(int socket);

    // Puts a datagram into the bridge's buffer, with zeros behind it. The caller
    // holds the bridge's lock.
    void show(std::size_t number, pppoeia_bridge &bridge);

    // Of the datagram in the bridge's buffer, as it is now.
    void keep_for_sending(pppoeia_bridge &bridge, std::size_t length);

    // Sends what was kept, in order. What the socket refuses is lost.
    void send(int socket);

private:
    struct Buffer {
        std::vector<std::uint8_t> bytes;
        std::size_t used = 0;  // no byte from here on is other than zero
    };

    std::array<Buffer, batch_max> buffers_;
    std::size_t used_in_bridge_ = 0;
    std::array<iovec, batch_max> parts_in_{};
    std::array<iovec, batch_max> parts_out_{};
    std::array<mmsghdr, batch_max> in_{};
    std::array<mmsghdr, batch_max> out_{};
    std::size_t kept_ = 0;
    const std::size_t datagram_size_;
};

}  // namespace ia
