// Buffers of the datagrams received together and sent together.
#pragma once

#include "fe/frame.h"

#include <sys/socket.h>
#include <array>
#include <cstddef>

namespace ia {

inline constexpr std::size_t batch_max = 32;

// The buffers of one worker. A datagram is processed where it was received; its
// buffer is valid until the next batch is received.
class Batch {
public:
    // Room for datagrams of a size, with slack behind each.
    Batch(std::size_t datagram_size, std::size_t buffer_size);

    // Receives the waiting datagrams, in order; 0 when there are none. Never waits.
    std::size_t receive(int socket);

    // One of the datagrams received, with zeros behind it.
    Datagram &show(std::size_t number);

    // As many bytes of the datagram as it has when the batch is sent.
    void keep_for_sending(Datagram &datagram, std::size_t length);

    // Sends the kept datagrams in order. Those that the socket refuses are lost.
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
