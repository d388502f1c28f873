#include "fe/batch.h"

#include <algorithm>

namespace ia {

Batch::Batch(std::size_t datagram_size, std::size_t buffer_size) : datagram_size_(datagram_size) {
    for (std::size_t i = 0; i < batch_max; ++i) {
        datagrams_[i].bytes.resize(buffer_size);
        in_[i].msg_hdr.msg_iov = &parts_in_[i];
        in_[i].msg_hdr.msg_iovlen = 1;
        out_[i].msg_hdr.msg_iov = &parts_out_[i];
        out_[i].msg_hdr.msg_iovlen = 1;
    }
}

std::size_t Batch::receive(int socket) {
    for (std::size_t i = 0; i < batch_max; ++i)
        parts_in_[i] = {datagrams_[i].bytes.data(), datagram_size_};
    const int received = recvmmsg(socket, in_.data(), batch_max, MSG_DONTWAIT, nullptr);
    kept_ = 0;
    return received < 0 ? 0 : static_cast<std::size_t>(received);
}

Datagram &Batch::show(std::size_t number) {
    Datagram &datagram = datagrams_[number];
    datagram.receive(in_[number].msg_len);
    return datagram;
}

void Batch::keep_for_sending(Datagram &datagram, std::size_t length) {
    parts_out_[kept_++] = {datagram.bytes.data(), length};
}

void Batch::send(int socket) {
    for (std::size_t at = 0; at < kept_;) {
        const int sent = sendmmsg(socket, &out_[at], static_cast<unsigned>(kept_ - at), 0);
        at += sent > 0 ? static_cast<std::size_t>(sent) : 1;
    }
}

}  // namespace ia
