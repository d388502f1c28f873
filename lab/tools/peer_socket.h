// A packet socket at a peer of the lab; many frames per system call.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ia::lab {

using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

inline constexpr std::size_t batch_frames = 64;

// Receives from construction on; does not receive its own host's frames. Throws
// std::system_error.
class PeerSocket {
public:
    // `name_space`: a named network namespace, or "-" for the caller's own.
    // `device`: "-" for all of the namespace. A socket made without `hears` only
    // sends.
    PeerSocket(const std::string &name_space, const std::string &device, bool hears = true);
    ~PeerSocket();
    PeerSocket(PeerSocket &&other) noexcept;
    PeerSocket(const PeerSocket &) = delete;
    PeerSocket &operator=(const PeerSocket &) = delete;

    // Sends all frames in order; `device` is an interface index, 0 for the socket's
    // own.
    void send(std::span<const View> frames, int device = 0) const;

    // Receives up to batch_frames waiting frames, without waiting. frame(0) and so
    // on return them until the next call.
    std::size_t receive();

    // The frame as on the wire, with the outermost tag, which the kernel delivers
    // separately.
    View frame(std::size_t number) const { return frames_[number]; }
    // The kernel's receive time, ns of the wall clock; the receiving device, for a
    // socket of all devices.
    std::int64_t arrived(std::size_t number) const { return arrived_[number]; }
    int device(std::size_t number) const;

    int descriptor() const { return socket_; }
    // Frames dropped because this socket's buffer was full, since the last call.
    std::uint32_t lost() const;

private:
    void place(std::size_t number, std::size_t length);

    int socket_;
    std::vector<std::uint8_t> buffers_;
    std::array<View, batch_frames> frames_;
    std::array<std::int64_t, batch_frames> arrived_{};
    std::array<mmsghdr, batch_frames> messages_{};
    std::array<iovec, batch_frames> parts_{};
    std::vector<std::uint8_t> controls_;
    std::vector<std::uint8_t> addresses_;
};

// Parses the hexadecimal digits of a plan.
Bytes from_hex(const std::string &text);

// The interface index of a device in a namespace.
int device_index(const std::string &name_space, const std::string &device);

// Waits until one of the sockets is readable; false after the time-out in ms.
bool wait_for_any(std::span<const PeerSocket> sockets, int milliseconds);

}  // namespace ia::lab
