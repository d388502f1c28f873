#include "ctl/devices.h"

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ia::ctl {

std::map<std::uint32_t, std::string> devices_of_ports(Remote &agent) {
    const rpcNodeDeviceList &reply = agent.node(rpc_node_devices_1);
    Remote::expect(reply.result, "the devices");
    std::map<std::uint32_t, std::string> devices;
    for (u_int i = 0; i < reply.list.list_len; ++i)
        if (*reply.list.list_val[i].device)
            devices[reply.list.list_val[i].port] = reply.list.list_val[i].device;
    return devices;
}

const char *link_of(const std::string &device) {
    static const int any = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    device.copy(request.ifr_name, sizeof request.ifr_name - 1);
    if (ioctl(any, SIOCGIFFLAGS, &request) != 0) return "absent";
    if ((request.ifr_flags & IFF_UP) == 0) return "down";
    return (request.ifr_flags & IFF_RUNNING) != 0 ? "up" : "no carrier";
}

}  // namespace ia::ctl
