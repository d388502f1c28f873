// A small network in a namespace of its own: hosts behind the ports of a Linux
// bridge, and an engine's place that echoes.
#pragma once

#include "node/descriptor.h"
#include "platform/kernel_modules.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace ia::node::test {

using Bytes = std::vector<std::uint8_t>;
using Mac = std::array<std::uint8_t, 6>;

inline constexpr Mac broadcast{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

struct Tag {
    std::uint16_t type;
    std::uint16_t control;
};

struct Frame {
    Mac destination;
    Mac source;
    std::vector<Tag> tags;
    std::uint16_t type;
    Bytes payload;

    Bytes bytes() const;
};

// A Discovery frame with one Host-Uniq tag that holds `number`.
Frame discovery(std::uint8_t code, const Mac &destination, const Mac &source,
                const std::vector<Tag> &tags, std::uint32_t number = 0);

bool is_discovery(const Bytes &frame);  // behind any tags

// Why the network cannot be had here; nothing when it can.
std::optional<std::string> missing();

// Runs a command line; throws with its text when it fails.
void run(const std::string &command);
std::string output_of(const std::string &command);

// Waits for a condition that an event is about to bring; false after 10 s.
bool eventually(const std::function<bool()> &condition);

// A packet socket on a device. Every tag is inline in what it receives.
class Host {
public:
    explicit Host(const std::string &device);

    void send(const Bytes &frame) const;
    std::optional<Bytes> receive(int milliseconds) const;

    // The next Discovery frame, within 10 s.
    std::optional<Bytes> receive_discovery() const;

    // The frames that came before the mark, which must come.
    std::vector<Bytes> receive_until(const Bytes &mark) const;

private:
    Descriptor socket_;
};

// Stands in the engine's place: attaches, and sends every datagram back as
// `change` leaves it; nothing when that returns false.
class Echo {
public:
    using Change = std::function<bool(Bytes &datagram)>;

    enum class Run { thread, by_hand };

    explicit Echo(const std::string &bridge, Change change = nullptr, Run run = Run::thread);
    ~Echo();
    Echo(const Echo &) = delete;
    Echo &operator=(const Echo &) = delete;

    void stop_reading();  // as a killed process does
    void close_bridge();  // the control file, as a clean deletion does
    int reused() const { return reused_; }

    bool wait() const;  // for a datagram, 10 ms at most
    void pass_one();    // receives, changes and sends a datagram that waits

private:
    void serve();

    std::string pseudo_;
    Change change_;
    int bridge_ = -1;
    int reused_ = 0;  // errno of the pseudo device's creation
    int socket_ = -1;
    std::atomic<bool> stop_{false};
    Bytes datagram_;
    std::thread worker_;
};

const kvbridge_frame_hdr &record(const Bytes &datagram);
kvbridge_frame_hdr &record(Bytes &datagram);
inline constexpr std::size_t frame_at = sizeof(kvbridge_frame_hdr);

}  // namespace ia::node::test
