#include "fe/kernel.h"

#include "fe/base/trace.h"
#include "platform/net_device.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace ia {

namespace {

// The modules' requests take the name's address, as the argument is declared
// for both directions.
int name_request(const ControlFile &file, unsigned long number, const char *device) {
    return file.request(number, const_cast<char *>(device));
}

int set_up_flag(const char *bridge, int socket, const char *device) {
    ifreq request{};
    std::strncpy(request.ifr_name, device, sizeof request.ifr_name - 1);
    if (platform::net_device_request(socket, SIOCGIFFLAGS, request) < 0) {
        pppoeia_log(2, "<%s> Unable to get flags.", bridge);
        return -1;
    }
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    if (platform::net_device_request(socket, SIOCSIFFLAGS, request) < 0) {
        pppoeia_log(2, "<%s> Unable to set flags.", bridge);
        return -1;
    }
    pppoeia_log(7, "<%s> Flags set.", bridge);
    return 0;
}

int bring_up(const char *bridge, const ControlFile &modules, const char *device) {
    const int socket = platform::net_socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        pppoeia_log(2, "<%s> Unable to create socket.", bridge);
        return -1;
    }
    const int result = set_up_flag(bridge, socket, device);
    if (result < 0) name_request(modules, KVMNG_IOC_PSEUDO_DEL, device);
    close(socket);
    return result;
}

}  // namespace

int pppoeia_pseudo_device_add(const char *bridge, const char *device) {
    const ControlFile modules(KVMNG_CONFIG_PATH);
    if (!modules.is_open()) {
        pppoeia_log(2, "<%s> Unable to open '%s'.", bridge, KVMNG_CONFIG_PATH);
        return -1;
    }
    if (name_request(modules, KVMNG_IOC_PSEUDO_ADD, device) < 0 && errno != EEXIST) {
        pppoeia_log(2, "<%s> Unable to create pseudo device '%s'.", bridge, device);
        return -1;
    }
    return bring_up(bridge, modules, device);
}

void pppoeia_pseudo_device_del(const char *bridge, const char *device) {
    const ControlFile modules(KVMNG_CONFIG_PATH);
    if (!modules.is_open()) {
        pppoeia_log(2, "<%s> Unable to open '%s'.", bridge, KVMNG_CONFIG_PATH);
        return;
    }
    const bool deleted = name_request(modules, KVMNG_IOC_PSEUDO_DEL, device) == 0;
    pppoeia_log(7, "<%s> Pseudo device '%s' %sdeleted.", bridge, device, deleted ? "" : "not ");
}

}  // namespace ia
