// The engine's requests to the node's kernel modules.
#pragma once

#include "platform/kernel_modules.h"

#include <cstdint>
#include <utility>

namespace ia {

// An open control file, closed with this object.
class ControlFile {
public:
    explicit ControlFile(const char *path) : handle_(platform::control_open(path)) {}
    explicit ControlFile(int handle) : handle_(handle) {}
    ControlFile(ControlFile &&other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    ControlFile(const ControlFile &) = delete;
    ControlFile &operator=(const ControlFile &) = delete;
    ~ControlFile() {
        if (is_open()) platform::control_close(handle_);
    }

    bool is_open() const { return handle_ >= 0; }

    // 0, or -1 with errno set.
    int request(unsigned long number, void *argument) const {
        return platform::control_request(handle_, number, argument);
    }

private:
    int handle_;
};

// Creates the pseudo device, or reuses an existing one, and brings it up. Returns
// 0, or a negative result after logging why.
int pppoeia_pseudo_device_add(const char *bridge, const char *device);

void pppoeia_pseudo_device_del(const char *bridge, const char *device);

}  // namespace ia
