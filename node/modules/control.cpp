// The control requests on a node with the kernel modules: system calls.
#include "platform/frame_hold.h"
#include "platform/kernel_modules.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ia::platform {

int control_open(const char *path) {
    return open(path, O_RDONLY | O_CLOEXEC);
}

int control_request(int handle, unsigned long request, void *argument) {
    return ioctl(handle, request, argument) < 0 ? -1 : 0;
}

void control_close(int handle) {
    close(handle);
}

// kvbridge has no such request: frames pass as soon as the filter is attached.
int hold_frames(const char *, std::uint32_t) {
    return 0;
}

int release_frames(const char *, std::uint32_t) {
    return 0;
}

// kvbridge knows its ports itself.
int bind_port(const char *, std::uint32_t, const char *, std::uint32_t) {
    return 0;
}

int unbind_port(const char *, std::uint32_t) {
    return 0;
}

int describe_bridge(const char *, const char *, std::uint16_t, std::uint32_t) {
    return 0;
}

int check_bridge(const char *) {
    return 0;
}

// kvbridge does not count.
int count_frames(const char *, std::uint32_t, frame_counts &counts) {
    counts = {};
    return 0;
}

int clear_frame_counts(const char *, std::uint32_t) {
    return 0;
}

}  // namespace ia::platform
