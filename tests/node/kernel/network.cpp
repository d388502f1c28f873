#include "tests/node/kernel/network.h"

#include "platform/net_device.h"

#include <arpa/inet.h>
#include <bpf/libbpf.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace ia::node::test {
namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::system_category(), what);
}

void put16(Bytes &to, std::size_t value) {
    to.push_back(static_cast<std::uint8_t>(value >> 8));
    to.push_back(static_cast<std::uint8_t>(value));
}

std::uint16_t get16(const Bytes &from, std::size_t at) {
    return static_cast<std::uint16_t>(from.at(at) << 8 | from.at(at + 1));
}

int packet_socket(const std::string &device) {
    // No protocol before it is bound: it would hear every device.
    const int socket = platform::net_socket(PF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
    const int size = 32 << 20, on = 1;
    if (socket < 0 ||
        platform::net_bind(socket, static_cast<int>(if_nametoindex(device.c_str()))) != 0 ||
        setsockopt(socket, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0 ||
        setsockopt(socket, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on) != 0 ||
        setsockopt(socket, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0)
        fail(device);
    return socket;
}

// The kernel hands the outermost tag over beside the frame.
void restore_tag(msghdr &message, Bytes &frame) {
    for (cmsghdr *at = CMSG_FIRSTHDR(&message); at; at = CMSG_NXTHDR(&message, at)) {
        if (at->cmsg_level != SOL_PACKET || at->cmsg_type != PACKET_AUXDATA) continue;
        tpacket_auxdata data;
        std::memcpy(&data, CMSG_DATA(at), sizeof data);
        if (!(data.tp_status & TP_STATUS_VLAN_VALID)) continue;
        Bytes tag;
        put16(tag, data.tp_status & TP_STATUS_VLAN_TPID_VALID ? data.tp_vlan_tpid : 0x8100);
        put16(tag, data.tp_vlan_tci);
        frame.insert(frame.begin() + 12, tag.begin(), tag.end());
    }
}

}  // namespace

Bytes Frame::bytes() const {
    Bytes all(destination.begin(), destination.end());
    all.insert(all.end(), source.begin(), source.end());
    for (const Tag &tag : tags) {
        put16(all, tag.type);
        put16(all, tag.control);
    }
    put16(all, type);
    all.insert(all.end(), payload.begin(), payload.end());
    return all;
}

Frame discovery(std::uint8_t code, const Mac &destination, const Mac &source,
                const std::vector<Tag> &tags, std::uint32_t number) {
    Bytes payload{0x11, code, 0, 0, 0, 8, 0x01, 0x03, 0, 4};
    put16(payload, number >> 16);
    put16(payload, number & 0xFFFF);
    payload.resize(46);  // Ethernet's shortest
    return {destination, source, tags, 0x8863, payload};
}

bool is_discovery(const Bytes &frame) {
    std::size_t at = 12;
    while (get16(frame, at) == 0x8100 || get16(frame, at) == 0x88A8 || get16(frame, at) == 0x9100)
        at += 4;
    return get16(frame, at) == 0x8863;
}

std::optional<std::string> missing() {
    if (geteuid() != 0) return "root";
    if (access("/dev/net/tun", R_OK | W_OK) != 0) return "/dev/net/tun";
    if (libbpf_probe_bpf_prog_type(BPF_PROG_TYPE_SCHED_CLS, nullptr) != 1) return "eBPF";
    if (unshare(CLONE_NEWNET) != 0) return "network namespaces";
    return std::nullopt;
}

void run(const std::string &command) {
    if (const int status = std::system(command.c_str()); status != 0)
        throw std::runtime_error(command + ": status " + std::to_string(status));
}

std::string output_of(const std::string &command) {
    std::string text;
    FILE *const pipe = popen(command.c_str(), "re");
    if (!pipe) fail(command);
    char part[512];
    while (std::fgets(part, sizeof part, pipe)) text += part;
    pclose(pipe);
    return text;
}

bool eventually(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

Host::Host(const std::string &device) : socket_(packet_socket(device)) {}

void Host::send(const Bytes &frame) const {
    if (::send(socket_.get(), frame.data(), frame.size(), 0) < 0) fail("send");
}

std::optional<Bytes> Host::receive(int milliseconds) const {
    pollfd waiting{socket_.get(), POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) <= 0) return std::nullopt;
    Bytes frame(2048);
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(tpacket_auxdata))> control;
    iovec part{frame.data(), frame.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket_.get(), &message, 0);
    if (size < 0) fail("receive");
    frame.resize(static_cast<std::size_t>(size));
    restore_tag(message, frame);
    return frame;
}

std::optional<Bytes> Host::receive_discovery() const {
    auto frame = receive(10000);
    while (frame && !is_discovery(*frame)) frame = receive(10000);
    return frame;
}

std::vector<Bytes> Host::receive_until(const Bytes &mark) const {
    std::vector<Bytes> frames;
    while (auto frame = receive(10000)) {
        if (*frame == mark) return frames;
        frames.push_back(std::move(*frame));
    }
    throw std::runtime_error("the mark did not come");
}

Echo::Echo(const std::string &bridge, Change change, Run run_by)
    : pseudo_(bridge + "_pppoe"), change_(std::move(change)) {
    const int devices = platform::control_open(KVMNG_CONFIG_PATH);
    if (platform::control_request(devices, KVMNG_IOC_PSEUDO_ADD, pseudo_.data()) != 0) {
        reused_ = errno;
        if (reused_ != EEXIST) fail(pseudo_);
    }
    platform::control_close(devices);
    run("ip link set " + pseudo_ + " up");
    bridge_ = platform::control_open(("/proc/net/kvbridge/" + bridge + "/bridge").c_str());
    kvbridge_filter_req request{"pppoe", ""};
    pseudo_.copy(request.device, sizeof request.device - 1);
    if (bridge_ < 0 ||
        platform::control_request(bridge_, KVBRIDGE_IOC_FILTER_ATTACH, &request) != 0)
        fail(bridge + ": attach");
    socket_ = packet_socket(pseudo_);
    fcntl(socket_, F_SETFL, O_NONBLOCK);
    if (run_by == Run::thread) worker_ = std::thread(&Echo::serve, this);
}

Echo::~Echo() {
    stop_reading();
    close_bridge();
}

void Echo::stop_reading() {
    stop_ = true;
    if (worker_.joinable()) worker_.join();
    if (socket_ >= 0) close(socket_);
    socket_ = -1;
}

void Echo::close_bridge() {
    if (bridge_ >= 0) platform::control_close(bridge_);
    bridge_ = -1;
}

bool Echo::wait() const {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket_, &set);
    timeval longest{0, 10000};
    return select(socket_ + 1, &set, nullptr, nullptr, &longest) == 1;
}

void Echo::pass_one() {
    datagram_.resize(2048);
    const ssize_t size = recv(socket_, datagram_.data(), datagram_.size(), 0);
    if (size <= 0) return;
    datagram_.resize(static_cast<std::size_t>(size));
    if (change_ && !change_(datagram_)) return;
    send(socket_, datagram_.data(), datagram_.size(), 0);  // a refusal is the filter's to count
}

void Echo::serve() {
    while (!stop_)
        if (wait()) pass_one();
}

const kvbridge_frame_hdr &record(const Bytes &datagram) {
    return *static_cast<const kvbridge_frame_hdr *>(static_cast<const void *>(datagram.data()));
}

kvbridge_frame_hdr &record(Bytes &datagram) {
    return *static_cast<kvbridge_frame_hdr *>(static_cast<void *>(datagram.data()));
}

}  // namespace ia::node::test
