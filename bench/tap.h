// A pseudo device and the kernel bridge module's end of it, in a network namespace
// of this process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ia::bench {

class Tap {
public:
    // Enters the namespace and makes the device, up, without IPv6. Throws
    // std::system_error without the permission.
    explicit Tap(const char *name);
    Tap(const Tap &) = delete;
    Tap &operator=(const Tap &) = delete;
    ~Tap();

    void put(std::span<const std::uint8_t> datagram);

    // The length of the next datagram; 0 when there is none.
    std::size_t take(std::span<std::uint8_t> datagram);

private:
    int tap_;
};

}  // namespace ia::bench
