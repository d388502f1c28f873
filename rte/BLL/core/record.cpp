#include "rte/BLL/core/record.h"

#include <sys/socket.h>
#include <algorithm>
#include <array>
#include <cerrno>

namespace ia {

namespace {

constexpr int steps_at_a_time = 32;
constexpr std::size_t kept_capacity = 4096;  // bytes

}  // namespace

RecordReader::State RecordReader::read(int socket) {
    for (int steps = 0; steps < steps_at_a_time && state_ == part; ++steps)
        if (!step(socket)) break;
    return state_;
}

// False when no byte is available.
bool RecordReader::step(int socket) {
    static thread_local std::array<char, 64 * 1024> buffer;
    const bool marking = mark_read_ < sizeof mark_;
    void *const into = marking ? static_cast<void *>(mark_ + mark_read_) : buffer.data();
    const std::size_t wanted =
        marking ? sizeof mark_ - mark_read_ : std::min(remaining_, buffer.size());
    const ssize_t got = recv(socket, into, wanted, MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return false;
    if (got <= 0) {
        state_ = ended;
        return false;
    }
    const auto size = static_cast<std::size_t>(got);
    if (marking) {
        mark_read_ += size;
        if (mark_read_ == sizeof mark_) read_mark();
    } else {
        call_.insert(call_.end(), buffer.data(), buffer.data() + size);
        remaining_ -= size;
    }
    if (state_ == part && mark_read_ == sizeof mark_ && remaining_ == 0) {
        mark_read_ = 0;
        if (last_) state_ = whole;
    }
    return true;
}

void RecordReader::read_mark() {
    constexpr unsigned last_fragment = 0x80;
    last_ = (mark_[0] & last_fragment) != 0;
    remaining_ = std::size_t(mark_[0] & ~last_fragment) << 24 | std::size_t(mark_[1]) << 16 |
                 std::size_t(mark_[2]) << 8 | std::size_t(mark_[3]);
    if (remaining_ > longest_call - call_.size()) state_ = ended;
}

void RecordReader::clear() {
    state_ = part;
    mark_read_ = 0;
    if (call_.capacity() > kept_capacity)
        call_ = {};
    else
        call_.clear();
}

}  // namespace ia
