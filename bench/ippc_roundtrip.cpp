// Measures client API calls: a setter's round trip through the engine and the
// mirror, against a bare ping-pong of the same bytes on the same kind of socket;
// and the time to provision a node's ports.
//
// Both servers are processes on the caller's processor: across processors, a
// ping-pong would measure the wake-up of the other processor.
#include "bench/measure.h"
#include "client/dispatch/dispatch.h"
#include "client/request.h"
#include "node/ippc/ippc_server.h"
#include "pppoeia/pppoeia.h"
#include "tests/support/raw_socket.h"
#include "tests/support/scripted_node.h"
#include "tests/support/temp_dir.h"

#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

using namespace ia::test;

namespace {

constexpr const char *br = "br0";
constexpr int calls = 20000;  // per repetition

double us_since(std::chrono::steady_clock::time_point before) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - before)
        .count();
}

void check(bool good, const char *what) {
    if (good) return;
    std::fprintf(stderr, "ippc_roundtrip: %s failed\n", what);
    std::exit(1);
}

// A process that serves until this object ends it.
class Child {
public:
    explicit Child(const std::function<void(int ready)> &serve) {
        int ends[2];
        check(pipe(ends) == 0, "pipe");
        pid_ = fork();
        if (pid_ == 0) {
            serve(ends[1]);
            _exit(0);
        }
        char byte = 0;
        check(read(ends[0], &byte, 1) == 1, "the server's start");
        close(ends[0]);
        close(ends[1]);
    }
    ~Child() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

private:
    pid_t pid_;
};

void say_ready(int ready) {
    check(write(ready, "r", 1) == 1, "the start");
}

void serve_engine(const std::string &path, std::atomic<long> &requests, int ready) {
    reset_node();
    const ia::node::IppcServer server(
        path,
        [&](const ia::platform::IppcRequest &request, ia::platform::IppcAnswer &answer) {
            ++requests;
            return ia::dispatch(request, answer);
        },
        ia::warn_ippc);
    say_ready(ready);
    pause();
}

void serve_bare(const std::string &path, const Bytes &reply, int ready) {
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    const sockaddr_un address = unix_address(path);
    check(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
              listen(listener, 1) == 0,
          "the bare server");
    say_ready(ready);
    const int client = accept(listener, nullptr, nullptr);
    Bytes buffer(4096);
    while (recv(client, buffer.data(), buffer.size(), 0) > 0)
        send(client, reply.data(), reply.size(), 0);
}

// Mean time of a repetition's calls, us. The two alternate, so that other load on
// the machine affects both alike.
struct Times {
    ia::bench::Series call;
    ia::bench::Series bare;
    ia::bench::Series ratio;
};

constexpr std::uint32_t ports = 1000;

double mean_us(const std::function<void()> &call) {
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) call();
    return us_since(before) / calls;
}

Times measure(const std::function<void()> &call, const std::function<void()> &bare) {
    Times times;
    for (std::size_t i = 0; i < times.call.size(); ++i) {
        times.call[i] = mean_us(call);
        times.bare[i] = mean_us(bare);
        times.ratio[i] = times.call[i] / times.bare[i];
    }
    return times;
}

void provision() {
    pppoeia_port_info info{};
    std::memcpy(info.intf_type, "eth", 4);
    for (std::uint32_t port = 1; port <= ports; ++port) {
        check(pppoeia_port_add(br, port, "dev", "1/1/1", &info) == 0, "port add");
        check(pppoeia_port_state_set(br, port, PPPOEIA_PORT_CLIENT) == 0, "state");
        check(pppoeia_port_trust_set(br, port, PPPOEIA_PORT_UNTRUSTED) == 0, "trust");
        check(pppoeia_circuit_id_format_port_vlan_set(br, port, 100, "$PORT-$VLAN") == 0, "format");
    }
}

void ping_pong(const RawSocket &client, const Bytes &request) {
    char reply[64];
    check(send(client.fd(), request.data(), request.size(), 0) > 0 &&
              recv(client.fd(), reply, sizeof reply, 0) > 0,
          "the ping-pong");
}

// Requests of the same sizes as the four that `provision` makes.
void ping_pong_as_often(const RawSocket &client) {
    static const Bytes requests[] = {Bytes(114), Bytes(44), Bytes(44), Bytes(62)};
    for (std::uint32_t port = 1; port <= ports; ++port)
        for (const Bytes &request : requests) ping_pong(client, request);
}

// Time per new bridge's ports, ms.
Times measure_provisioning(const RawSocket &bare) {
    Times times;
    for (std::size_t i = 0; i < times.call.size(); ++i) {
        check(pppoeia_bridge_del(br) == 0 && pppoeia_bridge_add(br, ports + 1) == 0, "the bridge");
        auto before = std::chrono::steady_clock::now();
        provision();
        times.call[i] = us_since(before) / 1000;
        before = std::chrono::steady_clock::now();
        ping_pong_as_often(bare);
        times.bare[i] = us_since(before) / 1000;
        times.ratio[i] = times.call[i] / times.bare[i];
    }
    return times;
}

void pin() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
    sched_setaffinity(0, sizeof one, &one);
}

}  // namespace

int main() {
    pin();
    const TempDir dir;
    const std::string engine_path = dir / "main";
    const std::string bare_path = dir / "bare";
    void *shared = mmap(nullptr, sizeof(std::atomic<long>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    check(shared != MAP_FAILED, "mmap");
    auto &requests = *new (shared) std::atomic<long>{0};
    const Child engine([&](int ready) { serve_engine(engine_path, requests, ready); });
    const Child bare([&](int ready) { serve_bare(bare_path, hex("0102 0000 00000000"), ready); });
    const RawSocket bare_client(bare_path);
    ia::engine_path = engine_path.c_str();

    check(pppoeia_init() == 0 && pppoeia_bridge_add(br, ports + 1) == 0, "the bridge");
    const long before_requests = requests;
    provision();
    const double per_operation = static_cast<double>(requests - before_requests) / (4.0 * ports);
    const Times provisioning = measure_provisioning(bare_client);

    // The same bytes as in the setter's request.
    const Bytes request =
        hex("0101 0300 1f000000 0000 0000 04000000 'br0' 00 0400 0000 04000000 01000000"
            "0400 0000 04000000 01000000");
    const Times times = measure(
        [] { check(pppoeia_port_state_set(br, 1, PPPOEIA_PORT_CLIENT) == 0, "the setter"); },
        [&] { ping_pong(bare_client, request); });
    using ia::bench::print_row;
    using ia::bench::Series;
    const auto once = [](double value) { return Series{value, value, value, value, value}; };
    print_row("setter through engine and own store", "us", times.call);
    print_row("bare ping-pong of the same bytes", "us", times.bare);
    print_row("setter over ping-pong", "ratio", times.ratio, {ia::bench::Target::at_most, 1.5});
    print_row("1,000 ports, four calls each", "ms", provisioning.call);
    print_row("as many ping-pongs of such sizes", "ms", provisioning.bare);
    print_row("provisioning over ping-pongs", "ratio", provisioning.ratio,
              {ia::bench::Target::at_most, 1.5});
    print_row("requests of an operation", "requests", once(per_operation),
              {ia::bench::Target::at_most, 1});
}
