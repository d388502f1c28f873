#include "bench/echo.h"

#include "platform/net_device.h"

#include <arpa/inet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace ia::bench {

namespace {

using Buffer = std::array<std::uint8_t, 2048>;

int open_socket(const char *device) {
    const int opened =
        platform::net_socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(ETH_P_ALL));
    if (opened < 0 || platform::net_bind(opened, static_cast<int>(if_nametoindex(device))) != 0)
        throw std::system_error(errno, std::generic_category(), "packet socket");
    return opened;
}

bool echo_one(int socket) {
    static Buffer buffer;
    const ssize_t length = recv(socket, buffer.data(), buffer.size(), 0);
    if (length <= 0) return false;
    send(socket, buffer.data(), static_cast<std::size_t>(length), 0);
    return true;
}

// The headers point into the object, so it must not move.
class Batch {
public:
    Batch() {
        for (std::size_t i = 0; i < size; ++i) {
            messages_[i] = {};
            messages_[i].msg_hdr.msg_iov = &vectors_[i];
            messages_[i].msg_hdr.msg_iovlen = 1;
        }
    }

    Batch(const Batch &) = delete;
    Batch &operator=(const Batch &) = delete;

    bool echo(int socket) {
        for (std::size_t i = 0; i < size; ++i) vectors_[i] = {buffers_[i].data(), sizeof(Buffer)};
        const int count = recvmmsg(socket, messages_.data(), size, 0, nullptr);
        if (count <= 0) return false;
        const auto received = static_cast<std::size_t>(count);
        for (std::size_t i = 0; i < received; ++i) vectors_[i].iov_len = messages_[i].msg_len;
        sendmmsg(socket, messages_.data(), static_cast<unsigned>(count), 0);
        return true;
    }

private:
    static constexpr std::size_t size = 32;
    std::array<Buffer, size> buffers_;
    std::array<iovec, size> vectors_;
    std::array<mmsghdr, size> messages_;
};

}  // namespace

Echo::Echo(const char *device, EchoStyle style)
    : socket_(open_socket(device)), thread_([this, style] { serve(style); }) {}

Echo::~Echo() {
    release();
    stop_ = true;
    thread_.join();
    close(socket_);
}

void Echo::release() {
    held_ = false;
    held_.notify_one();
}

clockid_t Echo::cpu_clock() {
    clockid_t clock = 0;
    pthread_getcpuclockid(thread_.native_handle(), &clock);
    return clock;
}

bool Echo::readable() {
    fd_set sockets;
    FD_ZERO(&sockets);
    FD_SET(socket_, &sockets);
    timeval longest{0, 10'000};
    return select(socket_ + 1, &sockets, nullptr, nullptr, &longest) == 1;
}

// Moves datagrams until none is left, then waits. `move` returns whether it moved
// one.
template <class Move>
void Echo::serve_when_readable(Move move) {
    while (!stop_) {
        held_.wait(true);
        if (!move()) readable();
    }
}

void Echo::serve(EchoStyle style) {
    switch (style) {
        case EchoStyle::select_each:
            while (!stop_) {
                if (!readable()) continue;
                held_.wait(true);
                echo_one(socket_);
            }
            break;
        case EchoStyle::no_wait: serve_when_readable([this] { return echo_one(socket_); }); break;
        case EchoStyle::batched: {
            Batch batch;
            serve_when_readable([&] { return batch.echo(socket_); });
            break;
        }
    }
}

}  // namespace ia::bench
