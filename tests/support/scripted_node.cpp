#include "tests/support/scripted_node.h"

#include "platform/frame_hold.h"
#include "platform/ncfm.h"
#include "platform/net_device.h"

#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace ia::test {

namespace {

struct State {
    ScriptedNode script;
    std::map<int, std::string> control_files;
    int next_handle = 1000;
    std::map<std::string, int> index_of;  // devices by their interface index
    std::map<int, int> peer_of;           // packet socket -> the test's end
    std::map<std::string, int> pseudo_peer;
};

std::mutex guard;
State state;

int failure(unsigned long request) {
    const auto found = state.script.failing.find(request);
    if (found == state.script.failing.end()) return 0;
    errno = found->second;
    return -1;
}

void close_peer(const std::string &device) {
    const auto found = state.pseudo_peer.find(device);
    if (found == state.pseudo_peer.end()) return;
    close(found->second);
    std::erase_if(state.peer_of, [&](const auto &pair) { return pair.second == found->second; });
    state.pseudo_peer.erase(found);
}

int peer(const std::string &device) {
    const std::scoped_lock lock(guard);
    return state.pseudo_peer.at(device);
}

std::string bridge_of(const std::string &path) {
    constexpr std::string_view head = "/proc/net/kvbridge/";
    return path.substr(head.size(), path.rfind('/') - head.size());
}

}  // namespace

ScriptedNode &node() {
    return state.script;
}

void reset_node() {
    const std::scoped_lock lock(guard);
    for (const auto &[socket, peer] : state.peer_of) close(peer);
    state = State{};
}

std::size_t held_count() {
    const std::scoped_lock lock(guard);
    return state.script.held.size();
}

void add_node_bridge(const std::string &name) {
    const std::scoped_lock lock(guard);
    state.script.bridges.insert(name);
}

void send_to(const std::string &device, const Bytes &datagram) {
    if (send(peer(device), datagram.data(), datagram.size(), 0) < 0)
        throw std::runtime_error("cannot send to " + device);
}

Bytes receive_from(const std::string &device) {
    pollfd ready{peer(device), POLLIN, 0};
    if (poll(&ready, 1, 2000) != 1) return {};
    Bytes bytes(65536);
    const ssize_t length = recv(ready.fd, bytes.data(), bytes.size(), 0);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return bytes;
}

bool nothing_pending(const std::string &device) {
    pollfd ready{peer(device), POLLIN, 0};
    return poll(&ready, 1, 0) == 0;
}

}  // namespace ia::test

namespace ia::platform {

using namespace ia::test;

int control_open(const char *path) {
    const std::scoped_lock lock(guard);
    const std::string name = path;
    const ScriptedNode &script = state.script;
    const bool there = name == KVMNG_CONFIG_PATH      ? script.kvmng
                       : name == KVBRIDGE_CONFIG_PATH ? script.kvbridge
                                                      : script.bridges.contains(bridge_of(name));
    if (!there) {
        errno = ENOENT;
        return -1;
    }
    state.control_files[state.next_handle] = name;
    ++state.script.open_control_files;
    return state.next_handle++;
}

int control_request(int handle, unsigned long request, void *argument) {
    const std::scoped_lock lock(guard);
    if (failure(request) != 0) return -1;
    ScriptedNode &script = state.script;
    const std::string &file = state.control_files.at(handle);
    switch (request) {
        case KVMNG_IOC_GET_VERSION: *static_cast<int *>(argument) = script.kvmng_version; return 0;
        case KVBRIDGE_IOC_GET_VERSION:
            *static_cast<int *>(argument) = script.kvbridge_version;
            return 0;
        case KVMNG_IOC_PSEUDO_ADD:
            if (script.pseudo_devices.insert(static_cast<char *>(argument)).second) return 0;
            errno = EEXIST;
            return -1;
        case KVMNG_IOC_PSEUDO_DEL:
            close_peer(static_cast<char *>(argument));
            return script.pseudo_devices.erase(static_cast<char *>(argument)) ? 0 : -1;
        case KVBRIDGE_IOC_GET_INFO:
            static_cast<kvbridge_bridge_info *>(argument)->stag_ethertype = script.stag_ethertype;
            return 0;
        case KVBRIDGE_IOC_FILTER_ATTACH:
            script.filters[bridge_of(file)] = static_cast<kvbridge_filter_req *>(argument)->device;
            return 0;
        default: errno = ENOTTY; return -1;
    }
}

void control_close(int handle) {
    const std::scoped_lock lock(guard);
    const std::string file = std::move(state.control_files.at(handle));
    state.control_files.erase(handle);
    --state.script.open_control_files;
    if (file != KVMNG_CONFIG_PATH && file != KVBRIDGE_CONFIG_PATH)
        state.script.filters.erase(bridge_of(file));
}

int hold_frames(const char *bridge, std::uint32_t port) {
    const std::scoped_lock lock(guard);
    state.script.held.emplace(bridge, port);
    return 0;
}

int release_frames(const char *bridge, std::uint32_t port) {
    const std::scoped_lock lock(guard);
    return state.script.held.erase({bridge, port}) ? 0 : -EINVAL;
}

int bind_port(const char *bridge, std::uint32_t port, const char *device, std::uint32_t side) {
    unbind_port(bridge, port);
    const std::scoped_lock lock(guard);
    state.script.bound[device] =
        std::string(bridge) + ' ' + std::to_string(port) + ' ' + std::to_string(side);
    return 0;
}

int unbind_port(const char *bridge, std::uint32_t port) {
    const std::scoped_lock lock(guard);
    const std::string place = std::string(bridge) + ' ' + std::to_string(port) + ' ';
    std::erase_if(state.script.bound,
                  [&](const auto &entry) { return entry.second.starts_with(place); });
    return 0;
}

int describe_bridge(const char *bridge, const char *device, std::uint16_t stag_ethertype,
                    std::uint32_t max_pdu) {
    const std::scoped_lock lock(guard);
    state.script.described[bridge] =
        std::string(device) + ' ' + std::to_string(stag_ethertype) + ' ' + std::to_string(max_pdu);
    return 0;
}

int describe_board(std::uint32_t position, const char *management_device) {
    const std::scoped_lock lock(guard);
    state.script.described["the board"] = std::to_string(position) + ' ' + management_device;
    return 0;
}

int check_bridge(const char *bridge) {
    const std::scoped_lock lock(guard);
    if (!state.script.bridges.contains(bridge)) return -ENOENT;
    return state.script.filters.contains(bridge) ? 0 : -ENODEV;
}

int count_frames(const char *, std::uint32_t port, frame_counts &counts) {
    const std::scoped_lock lock(guard);
    const auto counted = state.script.counted.find(port);
    counts = counted == state.script.counted.end() ? frame_counts{} : counted->second;
    return 0;
}

int clear_frame_counts(const char *, std::uint32_t port) {
    const std::scoped_lock lock(guard);
    state.script.counted.erase(port);
    return 0;
}

int net_socket(int domain, int, int) {
    const std::scoped_lock lock(guard);
    if (domain != AF_PACKET) return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    int ends[2];
    if (state.script.sockets_fail) {
        errno = EMFILE;
        return -1;
    }
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return -1;
    try {
        state.peer_of[ends[0]] = ends[1];
        return ends[0];
    } catch (const std::bad_alloc &) {
        for (const int end : ends) close(end);
        throw;
    }
}

int net_device_request(int, unsigned long request, ifreq &device) {
    const std::scoped_lock lock(guard);
    if (failure(request) != 0) return -1;
    const ScriptedNode &script = state.script;
    switch (request) {
        case SIOCGIFINDEX: {
            const int next = static_cast<int>(state.index_of.size()) + 1;
            device.ifr_ifindex = state.index_of.try_emplace(device.ifr_name, next).first->second;
            return 0;
        }
        case SIOCGIFMTU: device.ifr_mtu = script.mtu; return 0;
        default: return 0;
    }
}

int net_device_address(const char *, std::uint8_t *mac) {
    const std::scoped_lock lock(guard);
    if (failure(SIOCGIFHWADDR) != 0) return -1;
    std::ranges::copy(state.script.management_mac, mac);
    return 0;
}

int net_bind(int socket, int interface_index) {
    const std::scoped_lock lock(guard);
    if (state.script.bind_result != 0) return state.script.bind_result;
    for (const auto &[device, index] : state.index_of)
        if (index == interface_index) {
            close_peer(device);
            state.pseudo_peer[device] = state.peer_of.at(socket);
        }
    return 0;
}

}  // namespace ia::platform

using ia::test::node;

int ncfmGetMyBoardPos(std::uint8_t *position) {
    if (!node().board) return -1;
    *position = *node().board;
    return 0;
}

int ncfmGetIpv6(ncfm_ipv6 *block) {
    if (!node().ipv6) return -1;
    const std::string &address = *node().ipv6;
    std::memcpy(block->address, address.data(), std::min(address.size(), sizeof block->address));
    return 0;
}

int ncfmGetInterface(ncfm_interface *block) {
    node().asked_interface = block->name;
    if (!node().ipv4) return -1;
    std::ranges::copy(*node().ipv4, block->ipv4);
    return 0;
}
