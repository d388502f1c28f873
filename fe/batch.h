// Datagrams that are received together, and those that are sent together.
#pragma once

#include "fe/frame.h"

#include <sys/socket.h>
#include <array>
#include <cstddef>

namespace ia {

inline constexpr std::size_t batch_max = 32;

// The buffers of one worker. A datagram is processed where it was received, and
// stays there until the next batch is received.
class Batch {
public:
    // Room for datagrams of a size, in buffers that go on behind them.
    Batch(std::size_t datagram_size, std::size_t buffer_size);

    // What the socket has for us, in order; 0 when it has nothing. Never waits.
    std::size_t receive(int socket);

    // One of the datagrams received, with zeros behind it.
    Datagram &show(std::size_t number);

    // As many bytes of the datagram as it has when the batch is sent.
    void keep_for_sending(Datagram &datagram, std::size_t length);

    // Sends what was kept, in order. What the socket refuses is lost.
    void send(int socket);

private:
    std::array<Datagram, batch_max> datagrams_;
    std::array<iovec, batch_max> parts_in_{};
    std::array<iovec, batch_max> parts_out_{};
    std::array<mmsghdr, batch_max> in_{};
    std::array<mmsghdr, batch_max> out_{};
    std::size_t kept_ = 0;
    const std::size_t datagram_size_;
};

}  // namespace ia
