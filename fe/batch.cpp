#include "fe/batch.h"

#include "fe/frame.h"

#include <algorithm>
#include <utility>

namespace ia {

Batch::Batch(std::size_t datagram_size, std::size_t buffer_size) : datagram_size_(datagram_size) {
    for (std::size_t i = 0; i < batch_max; ++i) {
        buffers_[i].bytes.resize(buffer_size);
        in_[i].msg_hdr.msg_iov = &parts_in_[i];
        in_[i].msg_hdr.msg_iovlen = 1;
        out_[i].msg_hdr.msg_iov = &parts_out_[i];
        out_[i].msg_hdr.msg_iovlen = 1;
    }
}

std::size_t Batch::receive(int socket) {
    for (std::size_t i = 0; i < batch_max; ++i)
        parts_in_[i] = {buffers_[i].bytes.data(), datagram_size_};
    const int received = recvmmsg(socket, in_.data(), batch_max, MSG_DONTWAIT, nullptr);
    kept_ = 0;
    return received < 0 ? 0 : static_cast<std::size_t>(received);
}

void Batch::show(std::size_t number, pppoeia_bridge &bridge) {
    Buffer &buffer = buffers_[number];
    const std::size_t length = in_[number].msg_len;
    if (buffer.used > length)
        std::fill_n(buffer.bytes.data() + length, buffer.used - length, std::uint8_t{0});
    // An error reply's tag may stand behind a frame without payload.
    used_in_bridge_ = std::max(used_in_bridge_, bridge.frame_end + Tag::header_size);
    std::swap(bridge.frame_buf, buffer.bytes);
    buffer.used = std::exchange(used_in_bridge_, length);
    bridge.frame_end = length;
}

void Batch::keep_for_sending(pppoeia_bridge &bridge, std::size_t length) {
    parts_out_[kept_++] = {bridge.frame_buf.data(), length};
}

void Batch::send(int socket) {
    for (std::size_t at = 0; at < kept_;) {
        const int sent = sendmmsg(socket, &out_[at], static_cast<unsigned>(kept_ - at), 0);
        at += sent > 0 ? static_cast<std::size_t>(sent) : 1;
    }
}

}  // namespace ia
