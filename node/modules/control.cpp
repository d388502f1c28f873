// The control requests on a node that has the kernel modules: the system calls.
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

}  // namespace ia::platform
