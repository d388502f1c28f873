#include "peer_socket.h"

#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/time.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>
#include <utility>

namespace ia::lab {

namespace {

constexpr std::size_t tag_size = 4;
constexpr std::size_t addresses_size = 12;
constexpr std::size_t buffer_size = 4096;
constexpr std::size_t control_size =
    CMSG_SPACE(sizeof(tpacket_auxdata)) + CMSG_SPACE(sizeof(timespec));
constexpr int receive_buffer = 128 << 20;

int must(int result, const char *what) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), what);
    return result;
}

// Moves this thread into a namespace during its lifetime.
class Inside {
public:
    explicit Inside(const std::string &name) {
        if (name == "-") return;
        home_ = must(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC), "namespace");
        const int there =
            must(open(("/run/netns/" + name).c_str(), O_RDONLY | O_CLOEXEC), name.c_str());
        must(setns(there, CLONE_NEWNET), "setns");
        close(there);
    }
    ~Inside() {
        if (home_ < 0) return;
        setns(home_, CLONE_NEWNET);
        close(home_);
    }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;

private:
    int home_ = -1;
};

sockaddr_ll address_of(int device, int protocol) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(static_cast<std::uint16_t>(protocol));
    address.sll_ifindex = device;
    return address;
}

int open_socket(const std::string &device, bool hears) {
    // No protocol before bind(): the socket would receive from every device
    // meanwhile.
    const int handle =
        must(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket");
    constexpr int on = 1;
    must(setsockopt(handle, SOL_SOCKET, SO_RCVBUFFORCE, &receive_buffer, sizeof receive_buffer),
         "receive buffer");
    must(setsockopt(handle, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on), "auxdata");
    must(setsockopt(handle, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on), "outgoing");
    must(setsockopt(handle, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on), "time stamps");
    const sockaddr_ll address =
        address_of(device == "-" ? 0 : device_index("-", device), hears ? ETH_P_ALL : 0);
    must(bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address),
         device.c_str());
    return handle;
}

}  // namespace

Bytes from_hex(const std::string &text) {
    Bytes bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(at, 2), nullptr, 16)));
    return bytes;
}

int device_index(const std::string &name_space, const std::string &device) {
    const Inside there(name_space);
    const unsigned index = if_nametoindex(device.c_str());
    return must(index == 0 ? -1 : static_cast<int>(index), device.c_str());
}

PeerSocket::PeerSocket(const std::string &name_space, const std::string &device, bool hears)
    : socket_([&] {
          const Inside there(name_space);
          return open_socket(device, hears);
      }()),
      buffers_(batch_frames * buffer_size),
      controls_(batch_frames * control_size),
      addresses_(batch_frames * sizeof(sockaddr_ll)) {}

PeerSocket::PeerSocket(PeerSocket &&other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      buffers_(std::move(other.buffers_)),
      controls_(std::move(other.controls_)),
      addresses_(std::move(other.addresses_)) {}

PeerSocket::~PeerSocket() {
    if (socket_ >= 0) close(socket_);
}

void PeerSocket::send(std::span<const View> frames, int device) const {
    std::array<mmsghdr, batch_frames> messages{};
    std::array<iovec, batch_frames> parts{};
    sockaddr_ll address = address_of(device, ETH_P_ALL);
    for (std::size_t at = 0; at < frames.size();) {
        const std::size_t count = std::min(frames.size() - at, batch_frames);
        for (std::size_t i = 0; i < count; ++i) {
            const View frame = frames[at + i];
            parts[i] = {const_cast<std::uint8_t *>(frame.data()), frame.size()};
            messages[i].msg_hdr = {};
            messages[i].msg_hdr.msg_iov = &parts[i];
            messages[i].msg_hdr.msg_iovlen = 1;
            if (device == 0) continue;
            messages[i].msg_hdr.msg_name = &address;
            messages[i].msg_hdr.msg_namelen = sizeof address;
        }
        const int sent = sendmmsg(socket_, messages.data(), static_cast<unsigned>(count), 0);
        // ENOBUFS also reports a filter's drop at the device.
        if (sent < 0 && errno != EAGAIN && errno != ENOBUFS) must(sent, "send");
        if (sent > 0 || errno == ENOBUFS) at += static_cast<std::size_t>(std::max(sent, 1));
    }
}

std::size_t PeerSocket::receive() {
    for (std::size_t i = 0; i < batch_frames; ++i) {
        parts_[i] = {&buffers_[i * buffer_size + tag_size], buffer_size - tag_size};
        msghdr &message = messages_[i].msg_hdr;
        message = {};
        message.msg_iov = &parts_[i];
        message.msg_iovlen = 1;
        message.msg_name = &addresses_[i * sizeof(sockaddr_ll)];
        message.msg_namelen = sizeof(sockaddr_ll);
        message.msg_control = &controls_[i * control_size];
        message.msg_controllen = control_size;
    }
    const int count = recvmmsg(socket_, messages_.data(), batch_frames, MSG_DONTWAIT, nullptr);
    if (count < 0 && errno != EAGAIN && errno != EINTR) must(count, "receive");
    for (int i = 0; i < count; ++i)
        place(static_cast<std::size_t>(i), messages_[static_cast<std::size_t>(i)].msg_len);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

// Inserts the outermost tag behind the addresses.
void PeerSocket::place(std::size_t number, std::size_t length) {
    std::uint8_t *const buffer = &buffers_[number * buffer_size];
    msghdr &message = messages_[number].msg_hdr;
    frames_[number] = {buffer + tag_size, length};
    for (cmsghdr *at = CMSG_FIRSTHDR(&message); at; at = CMSG_NXTHDR(&message, at)) {
        if (at->cmsg_level == SOL_SOCKET && at->cmsg_type == SCM_TIMESTAMPNS) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(at), sizeof time);
            arrived_[number] = time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
        }
        if (at->cmsg_level != SOL_PACKET || at->cmsg_type != PACKET_AUXDATA) continue;
        tpacket_auxdata beside{};
        std::memcpy(&beside, CMSG_DATA(at), sizeof beside);
        if ((beside.tp_status & TP_STATUS_VLAN_VALID) == 0) continue;
        std::memmove(buffer, buffer + tag_size, addresses_size);
        const std::uint16_t tag[] = {htons(beside.tp_vlan_tpid), htons(beside.tp_vlan_tci)};
        std::memcpy(buffer + addresses_size, tag, sizeof tag);
        frames_[number] = {buffer, length + tag_size};
    }
}

int PeerSocket::device(std::size_t number) const {
    sockaddr_ll address{};
    std::memcpy(&address, &addresses_[number * sizeof address], sizeof address);
    return address.sll_ifindex;
}

std::uint32_t PeerSocket::lost() const {
    tpacket_stats stats{};
    socklen_t size = sizeof stats;
    must(getsockopt(socket_, SOL_PACKET, PACKET_STATISTICS, &stats, &size), "statistics");
    return stats.tp_drops;
}

bool wait_for_any(std::span<const PeerSocket> sockets, int milliseconds) {
    std::vector<pollfd> waits;
    for (const PeerSocket &socket : sockets) waits.push_back({socket.descriptor(), POLLIN, 0});
    return poll(waits.data(), waits.size(), milliseconds) > 0;
}

}  // namespace ia::lab
